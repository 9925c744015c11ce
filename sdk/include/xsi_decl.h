// Enumerations and string constants of the host.
#pragma once

#include "sicppsdk.h"

namespace XSI {

enum siClassID {
    siUnknownClassID = 0,
    siObjectID = 0,
    siSIObjectID = 1,
    siApplicationID = 5,
    siArgumentID = 6,
    siCommandID = 7,
    siFacetID = 11,
    siNurbsSurfaceID = 12,
    siPointID = 13,
    siNurbsCurveID = 18,
    siSampleID = 19,
    siGeometryID = 22,
    siNurbsSurfaceMeshID = 23,
    siNurbsCurveListID = 24,
    siPolygonMeshID = 25,
    siSegmentID = 26,
    siConstructionHistoryID = 28,
    siDictionaryID = 29,
    siFCurveID = 31,
    siFCurveKeyID = 32,
    siPortID = 37,
    siInputPortID = 38,
    siSelectionID = 39,
    siUpdateContextID = 43,
    siParameterID = 44,
    siProjectItemID = 47,
    siOperatorID = 53,
    siPrimitiveID = 55,
    siPropertyID = 57,
    siClusterPropertyID = 58,
    siCustomPropertyID = 61,
    siKinematicsID = 63,
    siStaticKinematicStateID = 65,
    siSceneItemID = 66,
    siClusterID = 67,
    siX3DObjectID = 72,
    siModelID = 74,
    siNullID = 82,
    siKinematicStateID = 86,
    siVertexID = 98,
    siEdgeID = 100,
    siPolygonFaceID = 102,
    siOutputPortID = 106,
    siUserDataBlobID = 117,
    siPPGLayoutID = 120,
    siPPGItemID = 121,
    siCustomOperatorID = 128,
    siContextID = 138,
    siPPGEventContextID = 139,
    siMenuID = 149,
    siMenuItemID = 150,
    siPluginRegistrarID = 153,
    siPluginItemID = 154,
    siUIToolkitID = 155,
    siProgressBarID = 156,
    siUIObjectID = 157,
    siHairPrimitiveID = 174,
    siOperatorContextID = 178,
    siComAPIObjectID = 900  // automation objects without a class of their own (collections, arguments)
};

enum siSeverityType {
    siFatalMsg = 1,
    siErrorMsg = 2,
    siWarningMsg = 4,
    siInfoMsg = 8,
    siVerboseMsg = 16,
    siCommentMsg = 32
};

enum siSeverity { siFatal = 1, siError = 2, siWarning = 4, siInfo = 8, siVerbose = 16, siComment = 32 };

enum siCapabilities {
    siAnimatable = 1,
    siReadOnly = 2,
    siPersistable = 4,
    siNotInspectable = 8,
    siSilent = 16,
    siNotPresetPersistable = 128,
    siTexturable = 256,
    siKeyable = 2048,
    siNonKeyableVisible = 4096
};

enum siParamClassification {
    siClassifVisualization = 1,
    siClassifPositioning = 2,
    siClassifAppearance = 4,
    siClassifMetaData = 8,
    siClassifModel = 16,
    siClassifGeometry = 16449,
    siClassifTopo = 16481,
    siClassifUnknown = 32768
};

enum siMenuAnchorPoints {
    siMenuUndefinedID = 0,
    siMenuTbGetPrimitiveID = 10,
    siMenuTbGetPropertyID = 17,
    siMenuTbGetPropertyTextureProjectionID = 18,
    siMenuTbGetPropertyTextureMapID = 19,
    siMenuTbGetPropertyTextureID = 20,
    siMenuTbGetPropertyUserDataMapID = 21,
    siMenuTbGetPropertyMapPaintID = 22,
    siMenuTbGetPropertyPSetID = 23,
    siMenuTbDeformSpatialID = 24,
    siMenuTbDeformID = 25
};

enum siMenuItemStyle {
    siMenuItemUndefined = 0,
    siMenuItem = 1,
    siMenuItemSubmenu = 2,
    siMenuItemSeparator = 3,
    siMenuItemSection = 4
};

enum siCommandCapabilities {
    siSupportsKeyAssignment = 8,
    siCannotBeUsedInBatch = 256,
    siUndoable = 262144,
    siNoLogging = 8388608,
    siAllowNotifications = 1073741824
};

enum siArgumentFlags { siArgumentInput = 2, siArgumentOutput = 4, siArgumentInputOutput = 6 };

enum siPPGEventID {
    siUndefinedPPGEvent = 0,
    siOnInit = 1,
    siOnClosed = 2,
    siParameterChange = 3,
    siButtonClicked = 4,
    siTabChange = 5,
    siGridDataEvent = 6
};

enum siFCurveInterpolation {
    siDefaultInterpolation = 0,
    siConstantInterpolation = 1,
    siLinearInterpolation = 2,
    siCubicInterpolation = 3
};

enum siFCurveExtrapolation {
    siConstantExtrapolation = 1,
    siLinearExtrapolation = 2,
    siPeriodicExtrapolation = 3,
    siPeriodicRelativeExtrapolation = 4
};

enum siFCurveKeyInterpolation {
    siDefaultKeyInterpolation = 0,
    siConstantKeyInterpolation = 1,
    siLinearKeyInterpolation = 2,
    siCubicKeyInterpolation = 3
};

enum siFCurveType {
    siUnknownFCurve = 0,
    siDefaultFCurve = 0,
    siBooleanFCurve = 10,
    siIntegerFCurve = 15,
    siStandardFCurve = 20,
    siRawDataFCurve = 30,
    siQuaternionFCurve = 40
};

enum siInstallationPath {
    siProjectPath = 0,
    siUserPath = 1,
    siWorkgroupPath = 2,
    siFactoryPath = 3,
    siAddonPath = 4,
    siUserAddonPath = 5,
    siWorkgroupAddonPath = 6,
    siUnknownPath = 7,
    siCustomPath = 9
};

enum siSelectMode { siSelectDefault = 0, siSelectNode = 1, siSelectBranch = 2, siSelectTree = 3, siSelectModel = 4 };
enum siBranchFlag { siNode = 0, siBranch = 1, siUnspecified = 3, siNotSelected = 4 };
enum siConstructionMode {
    siConstructionModeModeling = 0,
    siConstructionModePrimaryShape = 1,
    siConstructionModeAnimation = 2,
    siConstructionModeSecondaryShape = 3,
    siConstructionModeDefault = 4
};
// Forms of a NURBS description: the host's own, or the full (IGES) knot vector and control points.
enum siNurbsFormat { siSINurbs = 0, siIGESNurbs = 1 };
enum siOperationMode { siPersistentOperation = 0, siImmediateOperation = 1 };
enum siInspectMode { siRecycle = 1, siFollow = 2, siLock = 3, siModal = 4, siLockAndForceNew = 5 };
enum siPortType { siPortInput = 0, siPortOutput = 1 };
enum siPortFlags { siDefaultPort = 0, siOptionalInputPort = 16, siCreatedOutputPort = 256, siBranchGroupPort = 1024 };
enum siClusterPropertyType {
    siClusterPropertyEnvelopeWeightType = 0,
    siClusterPropertyShapeKeyType = 1,
    siClusterPropertyWeightMapType = 2,
    siClusterPropertyUVType = 3,
    siClusterPropertyVertexColorType = 4,
    siClusterPropertyUserNormalType = 5,
    siClusterPropertyUserMotionType = 6
};

// Filters passed to picking.
extern const wchar_t* const siClusterFilter;    // "cluster"
extern const wchar_t* const siObjectFilter;     // "sceneobject"
extern const wchar_t* const siPropertyFilter;   // "property"
extern const wchar_t* const siCurveFilter;      // "curve"
extern const wchar_t* const siGenericObjectFilter;  // "object"
extern const wchar_t* const siPointFilter;      // "point"
extern const wchar_t* const siEdgeFilter;       // "edge"
extern const wchar_t* const siPolygonFilter;    // "polygon"
extern const wchar_t* const siPolyMeshFilter;   // "polygonmesh"
extern const wchar_t* const siGeometryFilter;   // "geometry"
extern const wchar_t* const siModelFilter;      // "model"
extern const wchar_t* const siOperatorFilter;   // "operator"

// Cluster types.
extern const wchar_t* const siVertexCluster;        // "pnt"
extern const wchar_t* const siPolygonCluster;       // "poly"
extern const wchar_t* const siEdgeCluster;          // "edge"
extern const wchar_t* const siSampledPointCluster;  // "sample"

// Page layout and item attributes, control types.
extern const wchar_t* const siUIHelpFile;    // "HelpFile"
extern const wchar_t* const siUILogic;       // "Logic"
extern const wchar_t* const siUINoLabel;     // "NoLabel"
extern const wchar_t* const siUIValueOnly;   // "ValueOnly"
extern const wchar_t* const siUILabel;       // "label"
extern const wchar_t* const siUICX;          // "cx"
extern const wchar_t* const siUICY;          // "cy"
extern const wchar_t* const siUIStyle;       // "style"
extern const wchar_t* const siUIItems;       // "uiitems"
extern const wchar_t* const siUIDecimals;    // "decimals"
extern const wchar_t* const siUINoSlider;    // "noslider"
extern const wchar_t* const siUIShowFrame;   // "ShowFrame"
extern const wchar_t* const siUIWidthPercentage;  // "WidthPercentage"
extern const wchar_t* const siControlCombo;  // "Combo"
extern const wchar_t* const siControlNumber; // "Number"
extern const wchar_t* const siControlString; // "String"
extern const wchar_t* const siControlCheck;  // "Check"
extern const wchar_t* const siControlButton; // "commandbutton"
extern const wchar_t* const siControlFCurve; // "FCurveWidget"
extern const wchar_t* const siControlEdit;   // "Edit"
extern const wchar_t* const siControlStatic; // "Static"
extern const wchar_t* const siControlFilePath;  // "FilePath"
extern const wchar_t* const siControlFolder; // "Folder"

// Type strings returned by SIObject::GetType.
extern const wchar_t* const siPolyMeshType;   // "polymsh"
extern const wchar_t* const siWgtMapType;     // "wtmap"
extern const wchar_t* const siCustomParamSet; // "customparamset"

}  // namespace XSI
