#pragma once

#include "engine/assets/AssetManager.h"
#include "engine/scene/InstallComponents.h"
#include "tools/worldgen/Settings.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

namespace Brelk::WorldGen {

// A content folder of its own with an initialised asset manager, as the tool has one when it
// starts generating.
class WorldFixture : public ::testing::Test {
protected:
    void SetUp() override {
        Scene::InstallComponents();
        assets.Initialize(Content(), Assets::AssetSourceMode::Authoring);
    }

    std::filesystem::path Content() const { return folder / "Content"; }
    std::filesystem::path WorldPath() const { return Content() / "Worlds" / "Procedural.bworld"; }

    static ProceduralWorldSettings Grid(std::int32_t cells, std::uint32_t props = 2, std::uint32_t terrain = 5) {
        ProceduralWorldSettings settings;
        settings.cellsX = settings.cellsZ = cells;
        settings.propsPerCell = props;
        settings.terrainResolution = terrain;
        return settings;
    }

    Testing::ScratchFolder folder;
    Assets::AssetManager assets;
};

} // namespace Brelk::WorldGen
