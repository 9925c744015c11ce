// Weight maps out of the stand-in to glTF, one file per frame: what scripts call ExportGLTF and
// what `orbelin export` runs.
//
// Which meshes go out: the objects asked for and the meshes of the weight maps asked for, in
// that order; when neither is given, every polygon mesh of the scene. Which maps go with each
// mesh: the maps asked for that lie on it; when no map is asked for, every weight map on its
// points. A map becomes the attribute "_WEIGHT_<name>" (its property's name), or
// "_WEIGHT_<cluster>_<name>" when two maps of one mesh share a name; its values go out as single
// floats, the precision the host keeps weight maps in, and points its cluster does not reach
// read 0. Positions are in object space under a node holding the object's transform at the
// frame. The node's extras name every attribute's weight map; the asset's extras hold the frame.
//
// With colours, each mesh also gets COLOR_0: its colouring map (the one asked for, else its
// first) through the preview's colour map over `range`, so any glTF viewer shows it.
//
// Frames: each is set in turn (the scene evaluated there) and written to its own file; the
// scene's frame is put back afterwards. The file name's last run of '#' becomes the frame,
// zero-padded to the run's length ("floor_####.glb" -> "floor_0012.glb"); without one, several
// frames get ".<frame, 4 digits>" before the extension and a single frame the name as given.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace standin {

class Host;

// Frames exported lie within -kMostExportFrame to kMostExportFrame.
constexpr int kMostExportFrame = 999999;

struct GltfExportRequest {
    std::filesystem::path file;           // ends in .glb or .gltf; relative to the project
    std::vector<std::string> objects;     // object paths
    std::vector<std::string> weightmaps;  // weight map paths
    std::vector<double> frames;           // whole frames; none: the current frame
    bool colours = false;
    std::string colourMap = "perceptual";  // or "diverging"
    std::string colourBy;                  // a weight map path; empty: each mesh's first map
    double rangeMin = 0.0, rangeMax = 1.0;
    // Asked before each frame: false stops the export there (std::runtime_error; the files of
    // the frames before stay).
    std::function<bool()> keepGoing;
};

// The files written, in frame order. Throws std::invalid_argument with a message naming what
// is wrong (an object that is not a polygon mesh, a path that names nothing, a frame that is
// not whole, a bad option) before anything is written, and std::runtime_error when a file
// cannot be written (the files of earlier frames stay).
std::vector<std::filesystem::path> ExportGltf(Host& host, const GltfExportRequest& request);

// The file a frame goes to (see above).
std::filesystem::path GltfFrameFile(const std::filesystem::path& file, int frame, bool severalFrames);

}  // namespace standin
