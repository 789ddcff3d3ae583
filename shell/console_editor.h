#pragma once
// The console's position editor ("edit"): pieces are put on squares line by
// line until a line beginning with '.'.

namespace vorn {

// Reads the editor's lines from standard input, waiting for each.
void edit_position();

}  // namespace vorn
