// Weight maps out to glTF at production size: a 1,000 x 1,000 grid (1,002,001 points, 2M
// triangles) with one weight map, written as a binary .glb.
//
// Timed beside a bare fwrite of as many bytes as the file holds, in turn so that both see the
// same load: the whole export (the map read through the object model, positions and triangles
// gathered, the file written whole: to a temporary file that then takes the last one's place), and
// a document already in memory written the same way. Medians of 9; the ratios are printed on
// lines with the word "ratio".
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "io/gltf.h"
#include "scene/host.h"
#include "script/gltf_export.h"
#include "script/lua_host.h"
#include "timing.h"

namespace fs = std::filesystem;

namespace {

using orbelin::bench::Compare;

constexpr int kRuns = 9;

void BareWrite(const fs::path& path, const std::vector<char>& bytes) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f || std::fwrite(bytes.data(), 1, bytes.size(), f) != bytes.size()) std::abort();
    std::fclose(f);
}

}  // namespace

int main() {
    std::string pattern = (fs::temp_directory_path() / "bench-export-XXXXXX").string();
    const fs::path dir = ::mkdtemp(pattern.data());
    {
        standin::Host host(dir);
        host.GetLog().SetEcho(false);
        std::ostringstream err;
        const char* scene =
            "local grid = CreatePrim('Grid', 'grid', {sizex = 100, sizez = 100, subdivu = 1000, subdivv = 1000})\n"
            "map = ExecuteCommand('CreateWeightMap', {'', grid, 'Weights', '', false})[1]\n"
            "math.randomseed(7)\n"
            "local w = {}\n"
            "for i = 1, 1001 * 1001 do w[i] = math.random() end\n"
            "SetWeights(map, w)\n";
        if (standin::RunScriptText(host, scene, "scene.lua", err) != 0) {
            std::cerr << err.str();
            return 1;
        }
        standin::GltfExportRequest request;
        request.file = dir / "grid.glb";
        request.weightmaps = {"grid.polymsh.cls.WeightMapCls.Weights"};
        standin::ExportGltf(host, request);
        const auto size = fs::file_size(request.file);
        const std::vector<char> bytes(size, 'x');

        std::printf("glTF export of a 1,002,001-point grid with one weight map: %.1f MB per file\n", static_cast<double>(size) / 1e6);
        const auto [whole, bare] = Compare([&] { standin::ExportGltf(host, request); }, [&] { BareWrite(dir / "bare.bin", bytes); }, kRuns);
        std::printf("  whole export %.1f ms, fwrite of the same bytes %.1f ms: ratio %.2f (at most 2 wanted)\n", whole * 1e3, bare * 1e3,
                    whole / bare);

        // The writing alone, from a document of the same size already in memory.
        standin::io::GltfDocument document;
        standin::io::GltfMesh mesh;
        mesh.name = "grid";
        mesh.positions.assign(1001 * 1001 * 3, 0.5f);
        for (uint32_t z = 0; z < 1000; ++z)
            for (uint32_t x = 0; x < 1000; ++x) {
                const uint32_t a = z * 1001 + x;
                mesh.triangles.insert(mesh.triangles.end(), {a, a + 1, a + 1002, a, a + 1002, a + 1001});
            }
        mesh.attributes.push_back({"_WEIGHT_Weights", std::vector<float>(1001 * 1001, 0.25f)});
        document.meshes.push_back(std::move(mesh));
        const auto [written, bare2] =
            Compare([&] { standin::io::WriteGltf(dir / "document.glb", document); }, [&] { BareWrite(dir / "bare.bin", bytes); }, kRuns);
        std::printf("  writing alone %.1f ms, fwrite %.1f ms: ratio %.2f\n", written * 1e3, bare2 * 1e3, written / bare2);
    }
    std::error_code ec;
    fs::remove_all(dir, ec);
    return 0;
}
