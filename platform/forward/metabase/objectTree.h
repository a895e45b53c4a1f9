// Forwards to the present place of a header that is about to move here.
#pragma once

#include "platform/metabase/tree.h"
