#include "engine/assets/AssetManager.h"

#include "engine/assets/cooked/CookedContainer.h"
#include "engine/assets/meshes/BuiltinMeshes.h"
#include "engine/assets/meshes/NativeMeshFile.h"
#include "engine/assets/tests/AssetTestSupport.h"
#include "engine/assets/textures/BuiltinTextures.h"
#include "engine/assets/textures/CookedTexture.h"
#include "engine/core/TaskSystem.h"
#include "engine/platform/Files.h"
#include "tests/support/Deadline.h"

#include <gtest/gtest.h>

#include <set>

namespace Brelk::Assets {
namespace {

namespace fs = std::filesystem;
using Brelk::Testing::kDeadline;
using Brelk::Testing::RunWithDeadline;
using Core::LogLevel;
using Testing::LogCapture;

void WriteBytes(const fs::path& path, std::span<const std::uint8_t> bytes) {
    ASSERT_TRUE(Platform::WriteFileAtomic(path, bytes));
}

// An uncompressed 32-bit TGA, top row first, every pixel (r, g, b, a).
std::vector<std::uint8_t> SolidTga(std::uint16_t width, std::uint16_t height, std::uint8_t r, std::uint8_t g,
                                   std::uint8_t b, std::uint8_t a) {
    std::vector<std::uint8_t> bytes{0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (const std::uint16_t side : {width, height}) {
        bytes.push_back(static_cast<std::uint8_t>(side & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(side >> 8));
    }
    bytes.push_back(32);
    bytes.push_back(0x28);
    for (std::size_t i = 0; i < std::size_t{width} * height; ++i) bytes.insert(bytes.end(), {b, g, r, a});
    return bytes;
}

MeshAsset QuadMesh() {
    return *BuiltinMeshContent(kBuiltinQuad);
}

class AssetManagerMeshTextureTest : public Testing::ProjectTest {
protected:
    void SetUp() override { fs::create_directories(Content()); }

    AssetHandle HandleOf(const AssetManager& manager, std::string_view relative) const {
        return manager.GetRegistry().HandleOfPath(fs::weakly_canonical(Content(relative)));
    }
    // Drives the loader until the asset settles.
    static AssetLoadState Settle(AssetManager& manager, AssetHandle handle) {
        AssetLoadState state = manager.GetLoader().State(handle);
        RunWithDeadline(kDeadline, [&] {
            while (IsPendingLoadState(state = manager.GetLoader().State(handle))) manager.UpdateAsyncLoads();
        });
        return state;
    }

    Core::Tasks::ScopedTaskSystem tasks_{Core::Tasks::TaskSystemConfig{2, 1, std::nullopt}};
};

TEST_F(AssetManagerMeshTextureTest, BuiltinsAreLoadedAtInitializeWithTheirContent) {
    AssetManager manager;
    manager.Initialize(Content(), AssetSourceMode::Authoring);
    const MeshAsset* cube = manager.GetMesh(manager.GetBuiltinCube());
    ASSERT_NE(cube, nullptr);
    EXPECT_EQ(cube->vertices.size(), 24u);
    ASSERT_EQ(cube->lods.size(), 3u);
    EXPECT_EQ(cube->lods[0].mesh, manager.GetBuiltinCube());
    const TextureAsset* flat = manager.GetTexture(manager.GetBuiltinFlatNormal());
    ASSERT_NE(flat, nullptr);
    EXPECT_EQ(flat->pixels, (std::vector<std::uint8_t>{128, 128, 255, 255}));
    // Loaded already: neither needs a slot of the loader.
    EXPECT_TRUE(manager.TouchTexture(manager.GetBuiltinWhite()));
    EXPECT_TRUE(manager.EnsureMeshLoaded(manager.GetBuiltinTorus()));
    EXPECT_EQ(manager.GetLoader().State(manager.GetBuiltinTorus()), AssetLoadState::Unloaded);
    EXPECT_FALSE(manager.EnsureTextureLoaded(manager.GetBuiltinCube()));
    EXPECT_FALSE(manager.TouchTexture(manager.GetBuiltinCube()));
    EXPECT_FALSE(manager.EnsureMeshLoaded(manager.GetBuiltinWhite()));
}

TEST_F(AssetManagerMeshTextureTest, CookedTextureAndTgaSourcesLoadThroughEnsureAndOnlyAuthoringCompressesALargeOne) {
    WriteBytes(Content("Stone.png"), EncodeCookedTexture(MakeSolidTexture(10, 20, 30, 40)));
    WriteBytes(Content("Moss.tga"), SolidTga(3, 2, 1, 2, 3, 255));
    WriteBytes(Content("Wall.tga"), SolidTga(256, 4, 200, 100, 50, 255));
    for (const auto& [mode, format] : {std::pair{AssetSourceMode::Authoring, TextureFormat::Bc7},
                                       std::pair{AssetSourceMode::ReadOnly, TextureFormat::Rgba8}}) {
        fs::remove_all(root_ / "Settings" / "TextureCache");
        AssetManager manager;
        manager.Initialize(Content(), mode);
        const LogCapture log;
        const AssetHandle stone = HandleOf(manager, "Stone.png");
        const AssetHandle moss = HandleOf(manager, "Moss.tga");
        const AssetHandle wall = HandleOf(manager, "Wall.tga");
        RunWithDeadline(kDeadline, [&] {
            for (const AssetHandle handle : {stone, moss, wall}) EXPECT_TRUE(manager.EnsureTextureLoaded(handle));
        });
        ASSERT_NE(manager.GetTexture(stone), nullptr);
        EXPECT_EQ(manager.GetTexture(stone)->pixels, (std::vector<std::uint8_t>{10, 20, 30, 40}));
        ASSERT_NE(manager.GetTexture(moss), nullptr);
        EXPECT_EQ(manager.GetTexture(moss)->width, 3u);
        EXPECT_EQ(manager.GetTexture(wall)->format, static_cast<std::uint8_t>(format));
        EXPECT_EQ(log.Messages(LogLevel::Info),
                  (std::vector<std::string>{"Imported texture asset: Stone.png", "Imported texture asset: Moss.tga",
                                            "Imported texture asset: Wall.tga"}));
        // A small source goes to the decoded-pixel cache, never through compression.
        std::multiset<std::string> cache;
        for (const std::string& file : Testing::ListFiles(root_ / "Settings" / "TextureCache"))
            cache.insert(fs::path(file).extension().string());
        EXPECT_EQ(cache, (std::multiset<std::string>{".btxcache", format == TextureFormat::Bc7 ? ".btex" : ".btxcache"}));
    }
}

TEST_F(AssetManagerMeshTextureTest, BrokenFilesFailWithTheirMessageAndAMeshIsNotReadAgainUntilItChanges) {
    std::vector<std::uint8_t> corrupt = EncodeCookedTexture(MakeSolidTexture(255, 255, 255, 255));
    corrupt.back() ^= 0x01;
    WriteBytes(Content("Corrupt.png"), corrupt);
    WriteBytes(Content("Short.bmesh"), std::vector<std::uint8_t>{0, 0, 0, 0, 0, 0, 0, 0, 1, 2});
    WriteBytes(Content("Robot.obj"), std::vector<std::uint8_t>{'o'});
    std::vector<std::uint8_t> contained = WriteCookedContainer(kCookedKindMesh, 1, EncodeNativeMesh(QuadMesh(), {}));
    contained.back() ^= 0x01;
    WriteBytes(Content("Damaged.bmesh"), contained);
    AssetManager manager;
    manager.Initialize(Content(), AssetSourceMode::Authoring);
    const std::string content = Platform::PathToUtf8(fs::weakly_canonical(Content())) + "/";
    const struct {
        const char* file;
        AssetType type;
        std::string logged;
    } rows[] = {
        {"Corrupt.png", AssetType::Texture,
         "Failed to load texture asset: Corrupt cooked texture (checksum mismatch): " + content + "Corrupt.png"},
        {"Short.bmesh", AssetType::Mesh,
         "Failed to load native mesh asset: " + content + "Short.bmesh: Cooked data ends early."},
        {"Damaged.bmesh", AssetType::Mesh,
         "Failed to load native mesh asset: " + content + "Damaged.bmesh: Invalid cooked file " + content +
             "Damaged.bmesh: checksum mismatch (corrupt file)."},
        {"Robot.obj", AssetType::Mesh,
         "No model importer is registered in this program (source importers are authoring-only): " + content +
             "Robot.obj"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        const LogCapture log;
        const AssetHandle handle = HandleOf(manager, row.file);
        RunWithDeadline(kDeadline, [&] {
            EXPECT_FALSE(row.type == AssetType::Mesh ? manager.EnsureMeshLoaded(handle)
                                                     : manager.EnsureTextureLoaded(handle));
        });
        EXPECT_EQ(manager.GetLoader().State(handle), AssetLoadState::Failed);
        EXPECT_FALSE(row.type == AssetType::Mesh ? manager.TouchMesh(handle) : manager.TouchTexture(handle));
        EXPECT_EQ(log.Messages(LogLevel::Error), std::vector<std::string>{row.logged});
    }
    // A failed mesh is not read again until its file changes.
    const AssetHandle cut = HandleOf(manager, "Short.bmesh");
    manager.GetLoader().ReleaseFailed();
    {
        const LogCapture log;
        RunWithDeadline(kDeadline, [&] { EXPECT_FALSE(manager.EnsureMeshLoaded(cut)); });
        EXPECT_EQ(log.Messages(LogLevel::Error),
                  std::vector<std::string>{"Mesh asset previously failed to load: " + content + "Short.bmesh"});
    }
    manager.GetLoader().ReleaseFailed();
    WriteBytes(Content("Short.bmesh"), EncodeNativeMesh(QuadMesh(), {}));
    RunWithDeadline(kDeadline, [&] { EXPECT_TRUE(manager.EnsureMeshLoaded(cut)); });
}

TEST_F(AssetManagerMeshTextureTest, RawContainedAndCreatedNativeMeshesLoadAsTheirOwnAsset) {
    MeshAsset withLods = QuadMesh();
    withLods.lods = {{12345, 5.0f}, {678, 50.0f}};
    const std::vector<std::uint8_t> raw = EncodeNativeMesh(withLods, {});
    WriteBytes(Content("Raw.bmesh"), raw);
    WriteBytes(Content("Cooked.bmesh"), WriteCookedContainer(kCookedKindMesh, 1, raw));
    AssetManager manager;
    manager.Initialize(Content(), AssetSourceMode::Authoring);
    for (const char* file : {"Raw.bmesh", "Cooked.bmesh"}) {
        SCOPED_TRACE(file);
        const LogCapture log;
        const AssetHandle handle = HandleOf(manager, file);
        // Asked for, not failed, and published only by a loader frame.
        EXPECT_TRUE(manager.TouchMesh(handle));
        EXPECT_EQ(manager.GetMesh(handle), nullptr);
        EXPECT_EQ(Settle(manager, handle), AssetLoadState::Ready);
        EXPECT_TRUE(manager.TouchMesh(handle));
        const MeshAsset* mesh = manager.GetMesh(handle);
        ASSERT_NE(mesh, nullptr);
        EXPECT_EQ(mesh->handle, handle);
        ASSERT_EQ(mesh->lods.size(), 2u);
        EXPECT_EQ(mesh->lods[0].mesh, handle);
        EXPECT_EQ(mesh->lods[1].mesh, 678u);
        EXPECT_EQ(log.Messages(LogLevel::Info), std::vector<std::string>{std::string("Loaded native mesh asset: ") + file});
    }

    const AssetHandle first = manager.CreateMeshAsset("Props", "my rock!", QuadMesh());
    EXPECT_EQ(manager.GetRegistry().Find(first)->name, "my_rock_.bmesh");
    ASSERT_NE(manager.GetMesh(first), nullptr);
    EXPECT_EQ(manager.GetMesh(first)->lods[0].mesh, first);
    // A new mesh has no record yet, so its file names no Guid; loading gives the same mesh.
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(Content("Props/my_rock_.bmesh"));
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, EncodeNativeMesh(QuadMesh(), {}));
    AssetManager reader;
    reader.Initialize(Content(), AssetSourceMode::ReadOnly);
    const AssetHandle again = HandleOf(reader, "Props/my_rock_.bmesh");
    RunWithDeadline(kDeadline, [&] { EXPECT_TRUE(reader.EnsureMeshLoaded(again)); });
    EXPECT_EQ(reader.GetMesh(again)->vertices.size(), 4u);
    EXPECT_EQ(Testing::ThrownMessage([&] { reader.CreateMeshAsset({}, "Rock", QuadMesh()); }),
              "CreateMeshAsset is unavailable with read-only asset sources.");
}

TEST_F(AssetManagerMeshTextureTest, ReloadReplacesLoadedDataFromTheChangedFile) {
    WriteBytes(Content("Sky.png"), EncodeCookedTexture(MakeSolidTexture(1, 1, 1, 255)));
    WriteBytes(Content("Hut.bmesh"), EncodeNativeMesh(QuadMesh(), {}));
    AssetManager manager;
    manager.Initialize(Content(), AssetSourceMode::Authoring);
    const AssetHandle sky = HandleOf(manager, "Sky.png");
    const AssetHandle hut = HandleOf(manager, "Hut.bmesh");
    EXPECT_FALSE(manager.ReloadAsset(sky)); // neither loaded nor in the loader
    EXPECT_FALSE(manager.ReloadAsset(12345));
    RunWithDeadline(kDeadline, [&] {
        EXPECT_TRUE(manager.EnsureTextureLoaded(sky));
        EXPECT_TRUE(manager.EnsureMeshLoaded(hut));
    });
    WriteBytes(Content("Sky.png"), EncodeCookedTexture(MakeSolidTexture(9, 8, 7, 255)));
    WriteBytes(Content("Hut.bmesh"), EncodeNativeMesh(*BuiltinMeshContent(kBuiltinDiamond), {}));
    const std::uint64_t revision = manager.ContentRevision();
    EXPECT_TRUE(manager.ReloadAsset(sky));
    EXPECT_TRUE(manager.ReloadAsset(hut));
    // The old data stays published while the new is read, so the slots never leave Ready.
    RunWithDeadline(kDeadline, [&] {
        while (manager.ContentRevision() < revision + 2) manager.UpdateAsyncLoads();
    });
    EXPECT_EQ(manager.GetTexture(sky)->pixels, (std::vector<std::uint8_t>{9, 8, 7, 255}));
    EXPECT_EQ(manager.GetMesh(hut)->indices.size(), 24u);
    // Built-ins reload from their own content.
    EXPECT_TRUE(manager.ReloadAsset(manager.GetBuiltinBlack()));
    EXPECT_TRUE(manager.ReloadAsset(manager.GetBuiltinCube()));
    RunWithDeadline(kDeadline, [&] {
        while (manager.ContentRevision() < revision + 4) manager.UpdateAsyncLoads();
    });
    EXPECT_EQ(manager.GetTexture(manager.GetBuiltinBlack())->pixels, (std::vector<std::uint8_t>{0, 0, 0, 255}));
    EXPECT_EQ(manager.GetMesh(manager.GetBuiltinCube())->lods.size(), 3u);
    // Pinned by the reload, so a sweep keeps what nothing holds a lease on.
    EXPECT_EQ(manager.GetLoader().SweepUnused(), 0u);
}

} // namespace
} // namespace Brelk::Assets
