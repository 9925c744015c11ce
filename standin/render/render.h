// A preview picture of meshes and curves, one of them coloured by a weight map, for people to
// look at what a tool produced. A software rasteriser over plain arrays: no host types, no GPU.
//
// The picture: every drawable lit by a key light above the camera's left shoulder (two-sided,
// so open surfaces read from either side), values through a perceptual colour map interpolated
// across each triangle, light grey where a drawable has no values, curves as dark grey line
// strips that surfaces in front of them hide. On the right, when any drawable has values, a
// colour bar with the range it stands for; the title, if any, along the top.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mesh/polymesh.h"

namespace standin::render {

struct Rgb {
    uint8_t r = 0, g = 0, b = 0;
    friend bool operator==(const Rgb&, const Rgb&) = default;
};

// 8-bit RGB, rows from the top, 3 bytes a pixel.
struct Image {
    int width = 0, height = 0;
    std::vector<uint8_t> rgb;

    Image() = default;
    Image(int w, int h, Rgb fill = {});  // a negative size counts as 0
    // Unchecked, like operator[].
    Rgb At(int x, int y) const {
        const uint8_t* p = &rgb[(static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 3];
        return {p[0], p[1], p[2]};
    }
    void Set(int x, int y, Rgb c) {
        uint8_t* p = &rgb[(static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 3];
        p[0] = c.r, p[1] = c.g, p[2] = c.b;
    }
};

// One object, in world space. Polygons are laid out as in mesh::PolyMesh: polygon p's corners
// are polyVertices[polyOffsets[p] .. polyOffsets[p+1]) (offsets empty: no polygons). Any n-gon
// is drawn as a fan from its first corner; polygons of fewer than 3 corners draw nothing.
struct Drawable {
    std::vector<mesh::Vec3> positions;
    std::vector<int32_t> polyOffsets;
    std::vector<int32_t> polyVertices;
    // Empty: the surface is grey. Otherwise one per position; NaN marks a point with no value
    // (grey around it), infinities sit at the ends of the colour bar.
    std::vector<double> values;
    // Line strips, each drawn through its points in order (repeat the first to close one).
    std::vector<std::vector<mesh::Vec3>> polylines;
    // Empty: the lines are dark grey. Otherwise one per line strip, which takes the colour of
    // that value (NaN: grey), as hair strands coloured by a map at their roots.
    std::vector<double> polylineValues;
};

// A mesh as a drawable: its positions and polygons, with the given per-point values.
Drawable MeshDrawable(const mesh::PolyMesh& mesh, std::vector<double> values = {});

struct Scene {
    std::vector<Drawable> drawables;
};

struct Camera {
    mesh::Vec3 eye, target;
    mesh::Vec3 up{0.0, 1.0, 0.0};
    double fovDegrees = 35.0;  // vertical
};

struct ValueRange {
    double min = 0.0, max = 1.0;
};

// How values turn into colours: the perceptual map, or a diverging one for values around a
// neutral middle (blue at the low end, white in the middle of the range, red at the high end).
enum class ColourMap { Perceptual, Diverging };

struct RenderOptions {
    int width = 800, height = 600;
    ColourMap colourMap = ColourMap::Perceptual;
    // None: a three-quarter view from above, (1, 1.2, 1.6) from the centre of everything, at
    // the distance where every point fits the view with a margin.
    std::optional<Camera> camera;
    // None: the smallest and largest finite values of the scene. A range of one value is
    // widened around it so that the colour bar still has two ends.
    std::optional<ValueRange> valueRange;
    std::string title;
    // Samples per pixel along each axis: 2 smooths the edges for four times the fill work.
    // Lowered for very large pictures, to keep the frame within 64 M samples.
    int supersample = 2;
};

// Throws std::invalid_argument for a size below 1 or above 16384, a supersample outside
// 1..4, a drawable whose polygons or values do not match its positions, a camera whose eye is
// its target or whose field of view is not within (0, 180) degrees, or a value range that is
// not finite or whose max is below its min.
Image Render(const Scene& scene, const RenderOptions& options = {});

// Creates the parent folders. Throws std::runtime_error naming the path when it cannot write.
void WritePng(const Image& image, const std::string& path);

// The colour map: t in [0, 1] from dark purple through teal and green to yellow; clamped
// outside, NaN gives the low end.
Rgb Viridis(double t);
// The diverging map: t in [0, 1] from blue through white (0.5) to red; clamped outside, NaN
// gives the middle.
Rgb Diverging(double t);
// The map's colour at t.
Rgb MapColour(ColourMap map, double t);

// The built-in 5 x 7 pixel font (descenders one row lower), each pixel drawn as a
// scale x scale square; a character advances 6 * scale. Characters it lacks are drawn as a
// hollow box. (x, y) is the top-left corner of the first character; pixels outside the image
// are dropped.
void DrawText(Image& image, int x, int y, std::string_view text, Rgb colour, int scale = 1);
int TextWidth(std::string_view text, int scale = 1);
// The height of a line of text (capitals and descenders), not counting spacing between lines.
inline int TextHeight(int scale = 1) { return 8 * scale; }

}  // namespace standin::render

namespace standin::render {

// Reads a PNG of any kind libpng reads (grey, palette, alpha over white, 16-bit) as 8-bit RGB.
// Throws std::runtime_error naming the path for a file that is missing, not a PNG, damaged, or
// larger than 16384 pixels on a side.
Image ReadPng(const std::string& path);

// A contact sheet: one cell per picture, in rows of `columns`, each picture shrunk to fit its
// cell's thumbnail area (never enlarged) and centred in it, with its label underneath (cut
// with ".." when it does not fit) and the sheet's title, if any, along the top.
struct SheetEntry {
    std::string label;
    Image picture;
};
struct SheetOptions {
    int columns = 4;
    int thumbWidth = 300, thumbHeight = 200;
    std::string title;
};
// Throws std::invalid_argument for no entries, an empty picture, fewer than 1 column, a
// thumbnail smaller than 16 x 16 or larger than 2048 x 2048, or a sheet over 16384 pixels on a
// side.
Image ContactSheet(const std::vector<SheetEntry>& entries, const SheetOptions& options = {});

}  // namespace standin::render
