// What stands for the platform, as a whole.
#pragma once

/// Registers the classes and the provider that the program works with, and keeps failed writes from ending
/// the process. Called once, ahead of everything else.
void installPlatform();
