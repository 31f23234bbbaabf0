// Fixture for the layering check: an engine header that includes the host (a violation).
#pragma once
#include "support/text.h"
#include "host/session.h"
