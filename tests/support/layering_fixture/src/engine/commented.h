// Fixture for the layering check: an include in a comment is no violation.
#pragma once
// #include "host/session.h"
/* the module's "tcm/frame/entries.h" is named here only in words */
