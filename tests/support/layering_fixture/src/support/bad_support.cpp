// Fixture for the layering check: a support source that includes the engine (a violation).
#  include <engine/stages/stage.h>
