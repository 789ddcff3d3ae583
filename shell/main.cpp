#include "shell/startup.h"

int main(int argc, char** argv) { return run_engine(argc, argv); }
