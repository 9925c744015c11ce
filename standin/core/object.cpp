#include "core/object.h"

#include "xsi_string.h"
#include "xsi_value.h"

namespace XSI::Host {

namespace {
struct ClassRow {
    siClassID id;
    const wchar_t* name;
    siClassID parent;  // siUnknownClassID: a root of the hierarchy
};

// The host's class hierarchy, nearest base last.
constexpr ClassRow kClasses[] = {
    {siSIObjectID, L"SIObject", siUnknownClassID},
    {siApplicationID, L"Application", siSIObjectID},
    {siArgumentID, L"Argument", siSIObjectID},
    {siCommandID, L"Command", siSIObjectID},
    {siFacetID, L"Facet", siSIObjectID},
    {siNurbsSurfaceID, L"NurbsSurface", siSIObjectID},
    {siPointID, L"Point", siSIObjectID},
    {siNurbsCurveID, L"NurbsCurve", siSIObjectID},
    {siSampleID, L"Sample", siSIObjectID},
    {siGeometryID, L"Geometry", siSIObjectID},
    {siNurbsSurfaceMeshID, L"NurbsSurfaceMesh", siGeometryID},
    {siNurbsCurveListID, L"NurbsCurveList", siGeometryID},
    {siPolygonMeshID, L"PolygonMesh", siGeometryID},
    {siSegmentID, L"Segment", siSIObjectID},
    {siConstructionHistoryID, L"ConstructionHistory", siSIObjectID},
    {siDictionaryID, L"Dictionary", siSIObjectID},
    {siFCurveID, L"FCurve", siSIObjectID},
    {siFCurveKeyID, L"FCurveKey", siUnknownClassID},
    {siPortID, L"Port", siSIObjectID},
    {siInputPortID, L"InputPort", siPortID},
    {siSelectionID, L"Selection", siUnknownClassID},
    {siUpdateContextID, L"UpdateContext", siSIObjectID},
    {siParameterID, L"Parameter", siSIObjectID},
    {siProjectItemID, L"ProjectItem", siSIObjectID},
    {siOperatorID, L"Operator", siProjectItemID},
    {siPrimitiveID, L"Primitive", siProjectItemID},
    {siPropertyID, L"Property", siProjectItemID},
    {siClusterPropertyID, L"ClusterProperty", siPropertyID},
    {siCustomPropertyID, L"CustomProperty", siPropertyID},
    {siKinematicsID, L"Kinematics", siPropertyID},
    {siStaticKinematicStateID, L"StaticKinematicState", siPropertyID},
    {siSceneItemID, L"SceneItem", siProjectItemID},
    {siClusterID, L"Cluster", siSceneItemID},
    {siX3DObjectID, L"X3DObject", siSceneItemID},
    {siModelID, L"Model", siX3DObjectID},
    {siNullID, L"Null", siX3DObjectID},
    {siKinematicStateID, L"KinematicState", siParameterID},
    {siVertexID, L"Vertex", siPointID},
    {siEdgeID, L"Edge", siSegmentID},
    {siPolygonFaceID, L"PolygonFace", siFacetID},
    {siOutputPortID, L"OutputPort", siPortID},
    {siUserDataBlobID, L"UserDataBlob", siPropertyID},
    {siPPGLayoutID, L"PPGLayout", siUnknownClassID},
    {siPPGItemID, L"PPGItem", siUnknownClassID},
    {siCustomOperatorID, L"CustomOperator", siOperatorID},
    {siContextID, L"Context", siUnknownClassID},
    {siPPGEventContextID, L"PPGEventContext", siContextID},
    {siUIObjectID, L"UIObject", siSIObjectID},
    {siMenuItemID, L"MenuItem", siUIObjectID},
    {siMenuID, L"Menu", siMenuItemID},
    {siPluginRegistrarID, L"PluginRegistrar", siSIObjectID},
    {siPluginItemID, L"PluginItem", siSIObjectID},
    {siUIToolkitID, L"UIToolkit", siUnknownClassID},
    {siProgressBarID, L"ProgressBar", siUnknownClassID},
    {siHairPrimitiveID, L"HairPrimitive", siPrimitiveID},
    {siOperatorContextID, L"OperatorContext", siContextID},
    {siComAPIObjectID, L"Object", siUnknownClassID},
};

const ClassRow* FindClass(siClassID id) {
    for (const ClassRow& row : kClasses)
        if (row.id == id) return &row;
    return nullptr;
}
}  // namespace

bool ClassIsA(siClassID cls, siClassID target) {
    if (cls == target) return true;
    for (const ClassRow* row = FindClass(cls); row && row->parent != siUnknownClassID; row = FindClass(row->parent))
        if (row->parent == target) return true;
    return false;
}

const wchar_t* ClassName(siClassID cls) {
    const ClassRow* row = FindClass(cls);
    return row ? row->name : L"Object";
}

void AddRef(Object* obj) { ++obj->refCount; }

uint64_t NextStamp() {
    static uint64_t counter = 0;
    return ++counter;
}

void Release(Object* obj) {
    if (--obj->refCount == 0) delete obj;
}

std::wstring Object::FullName() const {
    Object* p = parent;
    if (!p || !p->parent) return PathSegment();  // under the scene root (or the root itself)
    return p->FullName() + L"." + PathSegment();
}

std::wstring Object::ComponentText(LONG cls, LLONG index) const {
    return FullName() + L"." + ClassName(static_cast<siClassID>(cls)) + L"[" + std::to_wstring(index) + L"]";
}

CStatus Object::Invoke(const std::wstring&, LONG, const CValueArray&, CValue&) { return CStatus::MemberNotFound; }

void Object::MarkDeleted() {
    alive = false;
    std::vector<Object*> kids;
    Children(kids);
    for (Object* k : kids)
        if (k->alive) k->MarkDeleted();
}

}  // namespace XSI::Host
