// CStatus, string constants, CTime, and CRefArray over a few host objects.
#include <gtest/gtest.h>

#include <cfloat>

#include "core/object.h"
#include "xsi_decl.h"
#include "xsi_ref.h"
#include "xsi_status.h"
#include "xsi_string.h"
#include "xsi_time.h"
#include "xsi_value.h"

using namespace XSI;

TEST(CStatus, Descriptions) {
    EXPECT_EQ(CStatus().GetDescription(), L"OK");
    EXPECT_EQ(CStatus(CStatus::Fail).GetDescription(), L"Fail");
    EXPECT_EQ(CStatus(CStatus::InvalidArgument).GetDescription(), L"Invalid argument");
    EXPECT_EQ(CStatus(CStatus::NotImpl).GetDescription(), L"Not implemented");
    EXPECT_EQ(CStatus(CStatus::Undefined).GetDescription(), L"Undefined");
}

TEST(CStatus, AssertSucceededPrintsFailuresOnly) {
    testing::internal::CaptureStderr();
    CStatus(CStatus::OK).AssertSucceeded(L"quiet");
    CStatus(CStatus::False).AssertSucceeded();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    CStatus(CStatus::Fail).AssertSucceeded(L"Creating the map");
    CStatus(CStatus::InvalidArgument).AssertSucceeded();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Creating the map (Fail)\nInvalid argument\n");
}

TEST(Decl, StringConstants) {
    EXPECT_STREQ(siClusterFilter, L"cluster");
    EXPECT_STREQ(siObjectFilter, L"sceneobject");
    EXPECT_STREQ(siPropertyFilter, L"property");
    EXPECT_STREQ(siCurveFilter, L"curve");
    EXPECT_STREQ(siVertexCluster, L"pnt");
    EXPECT_STREQ(siUIHelpFile, L"HelpFile");
    EXPECT_STREQ(siControlButton, L"commandbutton");
    EXPECT_STREQ(siWgtMapType, L"wtmap");
}

TEST(CTime, FramesAndUnits) {
    EXPECT_EQ(CTime().GetTime(), 0.0);
    CTime t(12.5);
    EXPECT_EQ(static_cast<double>(t), 12.5);
    EXPECT_EQ(CTime(DBL_MAX, CTime::CUSTOM).GetTime(), DBL_MAX);
    EXPECT_EQ(CTime(50, CTime::PAL).GetTime(CTime::Seconds), 2.0);
    EXPECT_EQ(CTime(2, CTime::Seconds, CTime::FILM).GetTime(), 48.0);
    EXPECT_EQ(CTime(1, CTime::Minutes, CTime::CUSTOM, 10).GetTime(), 600.0);
    EXPECT_DOUBLE_EQ(CTime(29.97, CTime::NTSC).GetTime(CTime::Milliseconds), 1000.0);
    CTime u(0, CTime::FILM);
    u.PutTime(0.5, CTime::Seconds);
    EXPECT_EQ(u.GetTime(), 12.0);
    EXPECT_TRUE(CTime(3) < 4.0);
}

namespace {
struct TestObject : Host::Object {
    siClassID id;
    std::wstring type;
    TestObject(siClassID classId, const wchar_t* objName, Host::Object* owner, const wchar_t* typeName = L"")
        : id(classId), type(typeName) {
        name = objName;
        parent = owner;
    }
    siClassID ClassID() const override { return id; }
    std::wstring TypeName() const override { return type; }
};

struct Scene {
    Host::Ptr<TestObject> root = Host::Make<TestObject>(siModelID, L"Scene_Root", nullptr);
    Host::Ptr<TestObject> sphere = Host::Make<TestObject>(siX3DObjectID, L"sphere", root.get(), L"polymsh");
    Host::Ptr<TestObject> cone = Host::Make<TestObject>(siX3DObjectID, L"cone", root.get(), L"polymsh");
    Host::Ptr<TestObject> prim = Host::Make<TestObject>(siPrimitiveID, L"polymsh", sphere.get(), L"polymsh");
};
}  // namespace

TEST(CRefArray, ItemsByIndexAndName) {
    Scene s;
    CRefArray a;
    a.Add(Host::RefOf(s.sphere.get()));
    a.Add(Host::RefOf(s.prim.get()));
    EXPECT_EQ(a.GetCount(), 2);
    EXPECT_EQ(a.GetAsText(), L"sphere,sphere.polymsh");
    EXPECT_EQ(a.GetItem(1).GetAsText(), L"sphere.polymsh");
    EXPECT_FALSE(a.GetItem(2).IsValid());
    EXPECT_FALSE(a.GetItem(-1).IsValid());
    EXPECT_EQ(a.GetItem(L"polymsh"), a[1]);
    EXPECT_EQ(a.GetItem(L"sphere.polymsh"), a[1]);
    EXPECT_EQ(a.GetItem(L"sphere"), a[0]);
    EXPECT_FALSE(a.GetItem(L"cone").IsValid());
    EXPECT_EQ(CValue(a).GetAsText(), L"(sphere,sphere.polymsh)");
    EXPECT_EQ(CValue(a[0]).GetAsText(), L"sphere");
    CRef first = CValue(a);  // a CRefArray value read as a CRef gives its first item
    EXPECT_EQ(first, a[0]);
}

TEST(CRefArray, ClassOfTheItems) {
    Scene s;
    CRefArray objects;
    objects.Add(Host::RefOf(s.sphere.get()));
    objects.Add(Host::RefOf(s.cone.get()));
    EXPECT_EQ(objects.GetClassID(), siX3DObjectID);
    EXPECT_EQ(objects.GetClassIDName(), L"X3DObject");
    EXPECT_TRUE(objects.IsA(siX3DObjectID));
    EXPECT_TRUE(objects.IsA(siSceneItemID));
    EXPECT_FALSE(objects.IsA(siPrimitiveID));
    objects.Add(Host::RefOf(s.prim.get()));
    EXPECT_EQ(objects.GetClassID(), siUnknownClassID);
    EXPECT_EQ(objects.GetClassIDName(), L"CRefArray");
    EXPECT_FALSE(objects.IsA(siX3DObjectID));
    EXPECT_TRUE(objects.IsA(siProjectItemID));
    EXPECT_FALSE(CRefArray().IsA(siX3DObjectID));
}

TEST(CRefArray, FilterFindRemove) {
    Scene s;
    CRefArray a;
    a.Add(Host::RefOf(s.sphere.get()));
    a.Add(Host::RefOf(s.cone.get()));
    a.Add(Host::RefOf(s.prim.get()));
    CRefArray out;
    EXPECT_EQ(a.Filter(L"x3dobject", CStringArray(), CString(), out), CStatus::OK);
    EXPECT_EQ(out.GetAsText(), L"sphere,cone");
    a.Filter(CString(), CStringArray(), L"c*", out);
    EXPECT_EQ(out.GetAsText(), L"cone");
    a.Filter(L"Primitive", CStringArray(), L"sphere.*", out);
    EXPECT_EQ(out.GetAsText(), L"sphere.polymsh");
    a.Filter(L"polymsh", CStringArray(), L"?pher?", out);  // by type name, then by name
    EXPECT_EQ(out.GetAsText(), L"sphere");
    a.Filter(L"Operator", CStringArray(), CString(), out);
    EXPECT_EQ(out.GetCount(), 0);

    CRef found;
    EXPECT_EQ(a.Find(L"Primitive", found), CStatus::OK);
    EXPECT_EQ(found.GetAsText(), L"sphere.polymsh");
    EXPECT_EQ(a.Find(L"Cluster", found), CStatus::False);
    EXPECT_FALSE(found.IsValid());

    const CRef cone = a[1];
    EXPECT_EQ(a.Remove(cone), 1);
    EXPECT_EQ(a.Remove(cone), -1);
    EXPECT_EQ(a.GetAsText(), L"sphere,sphere.polymsh");

    a += a;
    EXPECT_EQ(a.GetCount(), 4);
    EXPECT_EQ(a.Resize(-1), CStatus::InvalidArgument);
    EXPECT_EQ(a.Resize(1), CStatus::OK);
    EXPECT_EQ(a.GetAsText(), L"sphere");
    a.Clear();
    EXPECT_EQ(a.GetCount(), 0);
}

TEST(CRefArray, DeletedObjectsGiveInvalidItems) {
    Scene s;
    CRefArray a;
    a.Add(Host::RefOf(s.cone.get()));
    CValue held(a[0]);
    s.cone->MarkDeleted();
    EXPECT_FALSE(a[0].IsValid());
    EXPECT_EQ(a.GetAsText(), L"");
    EXPECT_EQ(held.GetAsText(), L"");
    EXPECT_FALSE(a.GetItem(L"cone").IsValid());
}
