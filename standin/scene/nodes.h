// The scene's objects as the stand-in keeps them.
//
// Every node derives from XSI::Host::Object so that a CRef can name it. The
// tree owns nodes through Ptr; `parent` is the physical parent in that tree.
// Geometry components (vertices, edges, polygons, samples) are not nodes: a
// CRef names them as (geometry node, component class, index).
#pragma once

#include <map>
#include <string>
#include <vector>

#include "anim/fcurve.h"
#include "core/object.h"
#include "mesh/polymesh.h"
#include "nurbs/nurbs.h"
#include "scene/names.h"
#include "ui/layout.h"
#include "xsi_transformation.h"
#include "xsi_value.h"

namespace standin {

using XSI::CRef;
using XSI::CValue;
using XSI::siClassID;
using XSI::Host::Object;
using XSI::Host::Ptr;
using XSI::Host::Make;
namespace MATH = XSI::MATH;

struct FCurveNode : Object {
    FCurve curve;
    siClassID ClassID() const override { return XSI::siFCurveID; }
    // Its keys, as components.
    bool ComponentExists(LONG cls, LLONG index) const override {
        return cls == XSI::siFCurveKeyID && index >= 0 && static_cast<size_t>(index) < curve.NumKeys();
    }
};

struct ParameterNode : Object {
    std::wstring label, description;
    CValue::DataType type = CValue::siEmpty;
    LONG caps = 0;
    CValue def, min, max, softMin, softMax;
    CValue value;
    // The curve an FCurve parameter holds as its value, or the animation of a numeric one.
    Ptr<FCurveNode> curve;
    bool isFCurveParameter = false;

    siClassID ClassID() const override { return XSI::siParameterID; }
    // The value at a frame: the animation when there is one, else the static value.
    CValue ValueAt(double frame) const;
    // Converts `v` to the parameter's type and clamps it to its range; false when it cannot.
    // Scripts (the SetValue command) may set a finite value past the range, as the host lets
    // them: the range bounds what the page and the object model's PutValue accept, and an
    // infinity always comes to the range's end.
    enum class Range { Clamp, Keep };
    bool Assign(const CValue& v, Range range = Range::Clamp);
    void Children(std::vector<Object*>& out) const override;
};

// Anything with parameters.
struct ProjectItemNode : Object {
    std::vector<Ptr<ParameterNode>> params;

    ParameterNode* FindParam(const std::wstring& scriptName) const;
    ParameterNode* AddParam(const std::wstring& scriptName);
    void Children(std::vector<Object*>& out) const override;
};

// What operators write, in evaluation order (OperatorNode, see operators.h): a weight map's
// values, or a hair geometry's point positions (x, y, z per point). `values` is what is stored
// below every operator.
struct OperatorStack {
    std::vector<double> values;
    std::vector<Ptr<ProjectItemNode>> operators;
    mutable NameIndex operatorNames;

    virtual ~OperatorStack() = default;
    // The node whose change stamp stands for the stored values.
    virtual Object& StackObject() = 0;
    // Whether a port target is what this stack writes (an operator reading it reads the
    // value below itself, which is no input of its own).
    virtual bool IsWritten(const Object* target) const = 0;
};

// The stack an operator whose parent is `parent` belongs to: the weight map itself, or the
// hair geometry of a primitive.
OperatorStack* StackOf(Object* parent);

// Anything that owns properties.
struct SceneItemNode : ProjectItemNode {
    std::vector<Ptr<ProjectItemNode>> properties;
    void Children(std::vector<Object*>& out) const override;
    // A name not yet used by a property here: `base`, else base + "1", base + "2" ...
    std::wstring UniquePropertyName(const std::wstring& base) const;
    mutable NameIndex propertyNames;
};

struct X3DNode;

struct KinematicStateNode : ParameterNode {
    bool global = false;
    siClassID ClassID() const override { return XSI::siKinematicStateID; }
    X3DNode* Owner() const;
};

struct KinematicsNode : ProjectItemNode {
    Ptr<KinematicStateNode> globalState, localState;
    siClassID ClassID() const override { return XSI::siKinematicsID; }
    std::wstring TypeName() const override { return L"kine"; }
    void Children(std::vector<Object*>& out) const override;
};

struct PrimitiveNode;

struct X3DNode : SceneItemNode {
    siClassID cls = XSI::siX3DObjectID;
    std::vector<Ptr<X3DNode>> children;
    mutable NameIndex childNames;
    Ptr<KinematicsNode> kine;
    Ptr<PrimitiveNode> primitive;
    MATH::CTransformation local;
    // Keyed local transforms by frame; between keys the transform is held from the key before.
    std::map<double, MATH::CTransformation> localKeys;

    siClassID ClassID() const override { return cls; }
    std::wstring TypeName() const override;
    void Children(std::vector<Object*>& out) const override;
    MATH::CTransformation LocalAt(double frame) const;
    MATH::CTransformation GlobalAt(double frame) const;
    bool IsRoot() const { return parent == nullptr; }
};

struct ModelNode : X3DNode {
    ModelNode() { cls = XSI::siModelID; }
};

struct ClusterNode;

// The geometry of a primitive; its full name is the primitive's.
struct GeometryNode : Object {
    std::wstring FullName() const override;
    PrimitiveNode* Primitive() const;
    // Number of points (vertices for meshes).
    virtual LONG PointCount() const = 0;
    // Number of elements of a cluster type ("pnt", "poly", "edge", "sample"); -1 when not supported.
    virtual LONG ComponentCount(const std::wstring& clusterType) const = 0;
    // Object-space position of point `index` (< PointCount()).
    virtual mesh::Vec3 PointPosition(LLONG index) const = 0;
};

// A curve object's geometry: its curves; its points are the curves' control points in order.
struct CurveListNode : GeometryNode {
    std::vector<nurbs::Curve> curves;
    explicit CurveListNode(std::vector<nurbs::Curve> c) : curves(std::move(c)) {}
    siClassID ClassID() const override { return XSI::siNurbsCurveListID; }
    std::wstring TypeName() const override { return L"crvlist"; }
    LONG PointCount() const override;
    LONG ComponentCount(const std::wstring& clusterType) const override;
    mesh::Vec3 PointPosition(LLONG index) const override;
    bool ComponentExists(LONG cls, LLONG index) const override;
    std::wstring ComponentText(LONG cls, LLONG index) const override;
};

// A surface object's geometry: its NURBS surfaces; its points are their control points, surface
// after surface.
struct SurfaceMeshNode : GeometryNode {
    std::vector<nurbs::Surface> surfaces;
    explicit SurfaceMeshNode(std::vector<nurbs::Surface> s) : surfaces(std::move(s)) {}
    siClassID ClassID() const override { return XSI::siNurbsSurfaceMeshID; }
    std::wstring TypeName() const override { return L"surfmsh"; }
    LONG PointCount() const override;
    LONG ComponentCount(const std::wstring& clusterType) const override { return clusterType == L"pnt" ? PointCount() : -1; }
    mesh::Vec3 PointPosition(LLONG index) const override;
    bool ComponentExists(LONG cls, LLONG index) const override;
    std::wstring ComponentText(LONG cls, LLONG index) const override;
};

struct PolyMeshNode : GeometryNode {
    mesh::PolyMesh mesh;
    // Point positions keyed by frame (a deforming mesh); between keys they move linearly.
    std::map<double, std::vector<mesh::Vec3>> keyedPositions;
    // The positions the mesh had before its first key (a deformation's rest shape).
    std::vector<mesh::Vec3> restPositions;
    void ApplyKeyedPositions(double frame);
    explicit PolyMeshNode(mesh::PolyMesh m) : mesh(std::move(m)) {}
    siClassID ClassID() const override { return XSI::siPolygonMeshID; }
    std::wstring TypeName() const override { return L"polymsh"; }
    LONG PointCount() const override { return mesh.VertexCount(); }
    LONG ComponentCount(const std::wstring& clusterType) const override;
    mesh::Vec3 PointPosition(LLONG index) const override { return mesh.Positions()[static_cast<size_t>(index)]; }
    bool ComponentExists(LONG cls, LLONG index) const override;
    std::wstring ComponentText(LONG cls, LLONG index) const override;
};

// A hair object's geometry: strands of kHairStrandPoints points (strand i owns points
// 14i .. 14i+13). Its points are what its operators write, the generator first.
inline constexpr LONG kHairStrandPoints = 14;

struct HairGeometryNode : GeometryNode, OperatorStack {
    LONG strandCount = 0;
    siClassID ClassID() const override { return XSI::siGeometryID; }
    std::wstring TypeName() const override { return L"hair"; }
    LONG PointCount() const override { return strandCount * kHairStrandPoints; }
    LONG ComponentCount(const std::wstring& clusterType) const override { return clusterType == L"pnt" ? PointCount() : -1; }
    mesh::Vec3 PointPosition(LLONG index) const override;
    bool ComponentExists(LONG cls, LLONG index) const override;
    std::wstring ComponentText(LONG cls, LLONG index) const override;
    Object& StackObject() override { return *this; }
    bool IsWritten(const Object* target) const override { return target == this || target == parent; }
    // Every point's position with the operators evaluated (3 doubles a point).
    const std::vector<double>& Positions() const;
};

struct PrimitiveNode : ProjectItemNode {
    std::wstring type;  // "polymsh", "crvlist", "surfmsh", "hair"
    siClassID cls = XSI::siPrimitiveID;
    Ptr<GeometryNode> geometry;
    std::vector<Ptr<ClusterNode>> clusters;
    mutable NameIndex clusterNames;

    siClassID ClassID() const override { return cls; }
    std::wstring TypeName() const override { return type; }
    std::wstring PathSegment() const override { return type; }
    void Children(std::vector<Object*>& out) const override;
    void MarkDeleted() override;
    X3DNode* Owner() const { return static_cast<X3DNode*>(parent); }
    std::wstring UniqueClusterName(const std::wstring& base) const;
    // Automation: "ConstructionHistory", the operators stacked on the primitive's geometry.
    XSI::CStatus Invoke(const std::wstring& member, LONG flags, const XSI::CValueArray& args, CValue& ret) override;
};

// A primitive's construction history as the automation bridge hands it out: Find(type) gives
// the first operator of that type on the primitive's geometry.
struct ConstructionHistoryNode : Object {
    Ptr<PrimitiveNode> primitive;
    siClassID ClassID() const override { return XSI::siConstructionHistoryID; }
    XSI::CStatus Invoke(const std::wstring& member, LONG flags, const XSI::CValueArray& args, CValue& ret) override;
};

struct ClusterNode : SceneItemNode {
    std::wstring type;  // "pnt", "poly", "edge", "sample"
    std::vector<LONG> elements;
    bool alwaysComplete = false;

    siClassID ClassID() const override { return XSI::siClusterID; }
    std::wstring TypeName() const override { return type; }
    std::wstring PathSegment() const override { return L"cls." + name; }
    PrimitiveNode* Primitive() const { return static_cast<PrimitiveNode*>(parent); }
};

struct ClusterPropertyNode : ProjectItemNode, OperatorStack {
    std::wstring type;  // "wtmap", "uvspace"
    LONG valueSize = 1;

    void Children(std::vector<Object*>& out) const override;
    Object& StackObject() override { return *this; }
    bool IsWritten(const Object* target) const override { return target == this; }

    siClassID ClassID() const override { return XSI::siClusterPropertyID; }
    std::wstring TypeName() const override { return type; }
    ClusterNode* Cluster() const { return dynamic_cast<ClusterNode*>(parent); }
};

struct CustomPropertyNode : ProjectItemNode {
    std::wstring type;  // the registered property name, or "customparamset"
    Layout layout;
    bool pageOpen = false;

    siClassID ClassID() const override { return XSI::siCustomPropertyID; }
    std::wstring TypeName() const override { return type; }
};

struct UserDataBlobNode : ProjectItemNode {
    std::vector<unsigned char> bytes;
    siClassID ClassID() const override { return XSI::siUserDataBlobID; }
    std::wstring TypeName() const override { return L"UserDataBlob"; }
};

// The host's page layout object for one property, and one item of it.
struct LayoutNode : Object {
    Ptr<CustomPropertyNode> owner;
    siClassID ClassID() const override { return XSI::siPPGLayoutID; }
};

struct LayoutItemNode : Object {
    Ptr<CustomPropertyNode> owner;
    size_t index = 0;
    siClassID ClassID() const override { return XSI::siPPGItemID; }
};

// Callback contexts: attributes by name, a source, and the user data slot.
struct ContextNode : Object {
    siClassID cls = XSI::siContextID;
    CRef source;
    std::vector<std::pair<std::wstring, CValue>> attributes;
    CValue userData;
    LONG eventID = 0;

    siClassID ClassID() const override { return cls; }
    CValue Attribute(const std::wstring& key) const;
    void SetAttribute(const std::wstring& key, const CValue& v);
};

struct ArgumentNode : Object {
    CValue value;  // the default, or the value when the command runs
    std::wstring handler;
    bool objectArgument = false;
    siClassID ClassID() const override { return XSI::siArgumentID; }
};

struct CommandNode : Object {
    std::wstring description, tooltip;
    std::map<LONG, bool> flags;
    bool returnValue = false;
    std::vector<Ptr<ArgumentNode>> arguments;
    bool initialised = false;
    siClassID ClassID() const override { return XSI::siCommandID; }
};

struct MenuItemNode : Object {
    siClassID cls = XSI::siMenuItemID;
    XSI::siMenuItemStyle style = XSI::siMenuItem;
    std::wstring command, callback;
    bool enabled = true;
    std::vector<Ptr<MenuItemNode>> items;  // for menus and sub-menus

    siClassID ClassID() const override { return cls; }
};

struct PluginRegistrarNode : Object {
    size_t plugin = 0;  // index into Host::Plugins()
    CValue userData;
    siClassID ClassID() const override { return XSI::siPluginRegistrarID; }
};

struct PluginItemNode : Object {
    siClassID ClassID() const override { return XSI::siPluginItemID; }
};

// Singletons behind the object model's service classes.
struct ServiceNode : Object {
    siClassID cls;
    explicit ServiceNode(siClassID c, std::wstring n) : cls(c) { name = std::move(n); }
    siClassID ClassID() const override { return cls; }
    XSI::CStatus Invoke(const std::wstring& member, LONG flags, const XSI::CValueArray& args, CValue& ret) override;
};

// Automation results: a named collection of values (the outputs of a pick) and one named value.
struct ComValueNode : Object {
    CValue value;
    siClassID ClassID() const override { return XSI::siComAPIObjectID; }
    XSI::CStatus Invoke(const std::wstring& member, LONG flags, const XSI::CValueArray& args, CValue& ret) override;
};

struct ComCollectionNode : Object {
    std::vector<Ptr<ComValueNode>> items;
    siClassID ClassID() const override { return XSI::siComAPIObjectID; }
    XSI::CStatus Invoke(const std::wstring& member, LONG flags, const XSI::CValueArray& args, CValue& ret) override;
    void Add(const std::wstring& key, const CValue& v);
};

}  // namespace standin
