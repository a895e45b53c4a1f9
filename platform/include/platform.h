// The platform as a whole: its installation in the process.
#pragma once

/// Makes the standard streams safe to write to, grows the stack, makes the process keep freed memory, and
/// registers the document class and the provider of the metabase. Must be called once, before any other call
/// of the platform.
void installPlatform();
