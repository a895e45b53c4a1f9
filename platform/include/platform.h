// What stands for the platform, as a whole.
#pragma once

/// Settles what the process does with freed memory, makes the standard streams safe to write to, and
/// registers the classes and the provider that the program works with. Called once, ahead of everything else.
void installPlatform();
