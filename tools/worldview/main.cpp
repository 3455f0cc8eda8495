#include "tools/worldview/ViewTool.h"

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    return Brelk::WorldView::RunWorldViewTool(args, std::cout, std::cerr);
}
