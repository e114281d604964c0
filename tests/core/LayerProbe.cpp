// Compiled only by the layer test: the platform layer must not see the engine.
#include "engine/BackupEngine.h"
