// Fixture for the layering check: a host header that reaches the module by a relative path.
#pragma once
#include "engine/stages/bad_stage.h"
#include "../tcm/frame/entries.h"
