#include "engine/platform/Environment.h"
#include "tools/worldgen/Tool.h"

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    return Brelk::WorldGen::RunWorldGenTool(args, std::cout, std::cerr, Brelk::Platform::StandardErrorIsTerminal());
}
