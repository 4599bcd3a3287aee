#include "host/cli/command_line.h"

int main(int argc, char** argv) { return mien::RunCommandLine(argc, argv); }
