#pragma once
// Writes a parameter record as a settings file in the form the start-up
// reader takes: every key that sets a parameter, with its value or values,
// and all twelve piece-square tables.

#include "eval/engine_params.h"

namespace vorn {

// Writes `p` to the file `name`, after `comment` (lines of text, each written
// behind "# "; may be empty). The file is written under a temporary name and
// renamed when complete, so an existing file is never left half-written.
// False when it cannot be written.
bool write_settings_file(const char* name, const EngineParams& p, const char* comment);

}  // namespace vorn
