#include "shell/play_settings.h"

PlaySettings play_settings;
