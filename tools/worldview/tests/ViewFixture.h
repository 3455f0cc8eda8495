#pragma once

#include "tests/support/Deadline.h"
#include "tools/worldgen/WorldGenerator.h"
#include "tools/worldgen/tests/WorldFixture.h"
#include "tools/worldview/ViewTool.h"

#include <sstream>
#include <string>
#include <vector>

namespace Brelk::WorldView {

// A freshly generated world of 2 x 2 cells, two props and a 5 x 5 terrain each, and the
// tool run over it under a deadline.
class ViewFixture : public WorldGen::WorldFixture {
protected:
    void SetUp() override {
        WorldGen::WorldFixture::SetUp();
        std::string error;
        ASSERT_TRUE(WorldGen::GenerateProceduralWorld(assets, WorldPath(), Grid(2), nullptr, &error)) << error;
    }

    std::filesystem::path Cell(std::int32_t x, std::int32_t z) const {
        return WorldGen::CellFilePath(WorldPath(), {x, z});
    }

    struct Run {
        int status = -1;
        std::string out;
        std::string err;
    };

    Run View(std::vector<std::string> extra = {}) const {
        std::vector<std::string> args{"--world", WorldPath().string()};
        args.insert(args.end(), extra.begin(), extra.end());
        std::ostringstream out;
        std::ostringstream err;
        Run run;
        // The tool waits on its workers: a deadlock there must fail the run, not hang it.
        Testing::RunWithDeadline(Testing::kDeadline,
                                       [&] { run.status = RunWorldViewTool(args, out, err); });
        run.out = out.str();
        run.err = err.str();
        return run;
    }
};

} // namespace Brelk::WorldView
