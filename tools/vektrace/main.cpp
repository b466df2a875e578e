#include "tools/vektrace/commandLine.h"

int main(int argc, char* argv[]) { return vek::program::run(argc, argv); }
