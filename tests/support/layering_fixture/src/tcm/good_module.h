// Fixture for the layering check: the module may include the host and support.
#pragma once
#include "host/session.h"
#include "support/json_util.h"
