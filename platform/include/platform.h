// The platform as a whole: its installation in the process.
#pragma once

/// Makes the process keep freed memory, makes the standard streams safe to write to, and registers the
/// document class and the provider of the metabase. Must be called once, before any other call of the
/// platform.
void installPlatform();
