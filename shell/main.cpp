#include "shell/startup.h"

int main(int argc, char** argv) { return vorn::run_engine(argc, argv); }
