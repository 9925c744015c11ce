// Values of the string constants declared in xsi_decl.h.
#include "xsi_decl.h"

namespace XSI {

const wchar_t* const siClusterFilter = L"cluster";
const wchar_t* const siObjectFilter = L"sceneobject";
const wchar_t* const siPropertyFilter = L"property";
const wchar_t* const siCurveFilter = L"curve";
const wchar_t* const siGenericObjectFilter = L"object";
const wchar_t* const siPointFilter = L"point";
const wchar_t* const siEdgeFilter = L"edge";
const wchar_t* const siPolygonFilter = L"polygon";
const wchar_t* const siPolyMeshFilter = L"polygonmesh";
const wchar_t* const siGeometryFilter = L"geometry";
const wchar_t* const siModelFilter = L"model";
const wchar_t* const siOperatorFilter = L"operator";
const wchar_t* const siVertexCluster = L"pnt";
const wchar_t* const siPolygonCluster = L"poly";
const wchar_t* const siEdgeCluster = L"edge";
const wchar_t* const siSampledPointCluster = L"sample";
const wchar_t* const siUIHelpFile = L"HelpFile";
const wchar_t* const siUILogic = L"Logic";
const wchar_t* const siUINoLabel = L"NoLabel";
const wchar_t* const siUIValueOnly = L"ValueOnly";
const wchar_t* const siUILabel = L"label";
const wchar_t* const siUICX = L"cx";
const wchar_t* const siUICY = L"cy";
const wchar_t* const siUIStyle = L"style";
const wchar_t* const siUIItems = L"uiitems";
const wchar_t* const siUIDecimals = L"decimals";
const wchar_t* const siUINoSlider = L"noslider";
const wchar_t* const siUIShowFrame = L"ShowFrame";
const wchar_t* const siUIWidthPercentage = L"WidthPercentage";
const wchar_t* const siControlCombo = L"Combo";
const wchar_t* const siControlNumber = L"Number";
const wchar_t* const siControlString = L"String";
const wchar_t* const siControlCheck = L"Check";
const wchar_t* const siControlButton = L"commandbutton";
const wchar_t* const siControlFCurve = L"FCurveWidget";
const wchar_t* const siControlEdit = L"Edit";
const wchar_t* const siControlStatic = L"Static";
const wchar_t* const siControlFilePath = L"FilePath";
const wchar_t* const siControlFolder = L"Folder";
const wchar_t* const siPolyMeshType = L"polymsh";
const wchar_t* const siWgtMapType = L"wtmap";
const wchar_t* const siCustomParamSet = L"customparamset";

}  // namespace XSI
