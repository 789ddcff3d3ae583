#pragma once
// What the program says about itself before it starts: the usage text of
// "--help" and the build description of "--version".

namespace vorn {

inline constexpr const char* kEngineName = "Vorn 3.50";

// The switches, the UCI options, the files and where the manual is.
void print_usage();

// The name and version, then the compiler, build type and code-generation
// flags the build used.
void print_version();

}  // namespace vorn
