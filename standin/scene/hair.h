// Hair: an object of type "hair" grown from an emitter mesh, its strands fixed polylines of
// kHairStrandPoints points. Its generator, the host's own operator "hairGenOp", sits first on
// the hair geometry's operator stack (the primitive's construction history), reads the emitter
// mesh on its port group 0 and the emitter's polygon cluster (when the hair grows from one) on
// its port group 1, and lays every strand out from its root vertex along the vertex normal at
// each evaluation, so the strands follow the emitter as it deforms. The points are in the
// emitter's object space.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "scene/host.h"
#include "scene/operators.h"

namespace standin {

struct HairOptions {
    double length = 1.0;   // of each strand, from its root to its last point
    double noise = 0.0;    // how far a strand's direction strays from the normal (0: none)
    uint32_t seed = 1;     // of the strays, so that a hair grows the same every time
};

// The strand roots of a hair grown from `emitter`: every vertex in order, or, from a polygon
// cluster, the vertices of its polygons in cluster order, each the first time it is met.
std::vector<int32_t> HairRoots(const mesh::PolyMesh& emitter, const std::vector<LONG>* polygons);

// Grows a hair object named `name` (the name "Hair" when empty) on the polygon mesh object
// `emitter`, from the polygon cluster `cluster` when it is valid; throws std::invalid_argument
// for an emitter that is no polygon mesh object, a cluster that is no polygon cluster of it,
// a length that is not a finite positive number or a noise that is not finite and >= 0.
CRef CreateHair(Host& host, const CRef& emitter, const std::wstring& name, const CRef& cluster, const HairOptions& options);

// The host's hair generator.
struct HairGenOpNode : OperatorNode {
    std::vector<int32_t> roots;
    std::vector<double> strays;  // x, y, z per strand, added to the normal
    double length = 1.0;
    bool HostUpdate(const std::vector<double>& below, std::vector<double>& out) override;
    // Deleted, it leaves the hair the strands it last laid out, as its stored points.
    void MarkDeleted() override;
};

}  // namespace standin
