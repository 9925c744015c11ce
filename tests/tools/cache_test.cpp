// The Cache Map from a user's side: applied to a grid's weight map in a project folder of its
// own, recording into memory and into files, replaying with its timings, and facing cache
// files that are not what they should be.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include "scene/host.h"
#include "xsi_clusterproperty.h"
#include "xsi_customproperty.h"
#include "xsi_fcurve.h"
#include "xsi_operator.h"
#include "xsi_parameter.h"

using namespace XSI;
namespace fs = std::filesystem;

namespace {

const std::wstring kMap = L"grid.polymsh.cls.WeightMapCls.CacheWeightMap";
const std::wstring kProp = kMap + L"_CacheMap";
constexpr const char* kFiles = "CacheMap/Scene_Root/grid/WeightMapCls_CacheWeightMap.";

fs::path FreshFolder() {
    std::string pattern = (fs::temp_directory_path() / "cachemap-tool-XXXXXX").string();
    return ::mkdtemp(pattern.data());
}

std::string Bytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

struct CacheTest : ::testing::Test {
    fs::path project = FreshFolder();
    standin::Host host{project};
    std::mt19937 rng{3};
    size_t logMark = 0;

    CacheTest() {
        host.GetLog().SetEcho(false);
        EXPECT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), CStatus::OK);
        host.Select({host.CreatePrim(L"Grid", L"grid", {{L"subdivu", 6}, {L"subdivv", 5}})});
        CValueArray args;
        CValue ret;
        EXPECT_EQ(host.ExecuteCommand(L"Orbelin_zrCacheMapApplyCmd", args, ret), CStatus::OK);
    }
    ~CacheTest() override {
        host.Clear();
        std::error_code ec;
        fs::remove_all(project, ec);
    }
    void Set(const std::wstring& param, const CValue& v) {
        ASSERT_EQ(host.SetValue(kProp + L"." + param, v), CStatus::OK) << std::string(param.begin(), param.end());
    }
    void Mode(LONG mode) { Set(L"OpMode", CValue(mode)); }
    std::vector<double> Weights() {
        CDoubleArray w = ClusterProperty(host.Find(kMap)).GetElements().GetArray();
        return {w.GetArray(), w.GetArray() + w.GetCount()};
    }
    // New weights under the operator: what it reads as its input.
    std::vector<double> SetInput() {
        ClusterProperty wm(host.Find(kMap));
        std::uniform_real_distribution<double> d(0, 1);
        CDoubleArray in(wm.GetElements().GetCount());
        for (LONG i = 0; i < in.GetCount(); ++i) in[i] = d(rng);
        EXPECT_EQ(wm.GetElements().PutArray(in), CStatus::OK);
        return {in.GetArray(), in.GetArray() + in.GetCount()};
    }
    // The weights at `frame` after `input` was given there.
    std::vector<double> At(double frame) {
        host.SetFrame(frame);
        return Weights();
    }
    fs::path File(const std::string& frameText) const { return project / (kFiles + frameText + ".wmc"); }
    // The log since the last call, one line per entry with its severity.
    std::wstring Log() {
        std::wstring out;
        for (const auto& e : host.GetLog().LinesSince(logMark)) out += std::to_wstring(e.severity) + L" " + e.text + L"\n";
        logMark = host.GetLog().Count();
        return out;
    }
    std::wstring Page() {
        bool cancelled = false;
        host.InspectObj(host.Find(kProp), siRecycle, cancelled);
        return host.DescribePage(host.Find(kProp));
    }
};

bool Has(const std::wstring& text, const std::wstring& part) { return text.find(part) != std::wstring::npos; }

std::string Frame(const std::vector<double>& w) {
    std::string s(4, '\0');
    const auto n = static_cast<uint32_t>(w.size());
    std::memcpy(s.data(), &n, 4);
    s.append(reinterpret_cast<const char*>(w.data()), w.size() * 8);
    return s;
}

void WriteBytes(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

TEST_F(CacheTest, ApplyingMakesThePropertyTheOperatorAndTheCacheRoot) {
    CustomProperty prop(host.Find(kProp));
    ASSERT_TRUE(prop.IsValid());
    CParameterRefArray params = prop.GetParameters();
    const wchar_t* names[] = {L"Enable",     L"OpMode",     L"StartFrame",  L"EndFrame", L"Offset",
                              L"RootPath",   L"TimingMode", L"TimingScale", L"TimingWarp"};
    ASSERT_EQ(params.GetCount(), LONG(std::size(names)));
    for (LONG i = 0; i < params.GetCount(); ++i) EXPECT_EQ(Parameter(params[i]).GetScriptName(), CString(names[i]));
    EXPECT_EQ(static_cast<LONG>(prop.GetParameterValue(L"OpMode")), 1);
    EXPECT_EQ(static_cast<LONG>(prop.GetParameterValue(L"StartFrame")), 1);
    EXPECT_EQ(static_cast<LONG>(prop.GetParameterValue(L"EndFrame")), 100);
    EXPECT_EQ(static_cast<double>(prop.GetParameterValue(L"TimingScale")), 0.0);
    EXPECT_EQ(fs::path(prop.GetParameterValue(L"RootPath").GetAsText().GetAsciiString()), project / "CacheMap");
    EXPECT_TRUE(fs::is_directory(project / "CacheMap"));
    // The warp curve: the identity over the play range, linear, extended linearly.
    FCurve warp(Parameter(params[8]).GetValue());
    ASSERT_EQ(warp.GetNumKeys(), 2);
    EXPECT_EQ(static_cast<double>(warp.GetKeyTime(0)), 1.0);
    EXPECT_EQ(static_cast<double>(warp.GetKeyValue(1)), 100.0);
    EXPECT_EQ(warp.GetInterpolation(), siLinearInterpolation);
    EXPECT_EQ(warp.GetExtrapolation(), siLinearExtrapolation);
    EXPECT_EQ(static_cast<double>(warp.Eval(150.0)), 150.0);
    // The operator: FullPath with the scene root, a curve on FE.
    Operator op(host.Find(kMap + L".zrCacheMapOp"));
    ASSERT_TRUE(op.IsValid());
    EXPECT_EQ(op.GetParameterValue(L"FullPath").GetAsText(), CString(L"Scene_Root.") + kMap.c_str());
    EXPECT_TRUE(op.GetParameter(L"FE").GetSource().IsValid());
    EXPECT_TRUE(host.IsPageOpen(prop.GetRef()));
    std::wstring log = Log();
    EXPECT_TRUE(Has(log, L"[ Apply CacheMapOp ]"));
    EXPECT_TRUE(Has(log, L">> Created CacheMap Directory:\n"));
    EXPECT_TRUE(Has(log, L">> [" + (project / "CacheMap").wstring() + L"]\n"));

    // A second map: the root is there already and is not announced again. Under a model, the
    // FullPath begins with the model's name.
    CRef model = host.CreateModel(L"Rig");
    host.Select({host.CreatePrim(L"Grid", L"cloth", {{L"subdivu", 2}, {L"subdivv", 2}}, model)});
    CValueArray args;
    CValue ret;
    ASSERT_EQ(host.ExecuteCommand(L"Orbelin_zrCacheMapApplyCmd", args, ret), CStatus::OK);
    EXPECT_FALSE(Has(Log(), L"Created CacheMap Directory"));
    Operator second(host.Find(L"Rig.cloth.polymsh.cls.WeightMapCls.CacheWeightMap.zrCacheMapOp"));
    ASSERT_TRUE(second.IsValid());
    EXPECT_EQ(second.GetParameterValue(L"FullPath").GetAsText(), CString(L"Rig.cloth.polymsh.cls.WeightMapCls.CacheWeightMap"));
}

TEST_F(CacheTest, ThePageFollowsTheModeAndTheTimingMode) {
    std::wstring page = Page();
    for (const wchar_t* text : {L"Execution State", L" Cache To RAM ", L" Read From File - Cache To RAM ", L" Write To File ",
                                L"Start Frame", L"End Frame", L"cachemap.html"})
        EXPECT_TRUE(Has(page, text)) << std::wstring(text);
    EXPECT_FALSE(Has(page, L"Time"));
    Mode(3);
    page = host.DescribePage(host.Find(kProp));
    EXPECT_TRUE(Has(page, L"\"Time\""));
    EXPECT_TRUE(Has(page, L"\"Processing\""));
    EXPECT_TRUE(Has(page, L" Warping "));
    EXPECT_FALSE(Has(page, L"Scale"));
    Set(L"TimingMode", CValue(LONG(1)));
    EXPECT_TRUE(Has(host.DescribePage(host.Find(kProp)), L"TimingScale \"Scale\""));
    Set(L"StartFrame", CValue(LONG(5)));
    Set(L"EndFrame", CValue(LONG(60)));
    Set(L"TimingMode", CValue(LONG(2)));
    page = host.DescribePage(host.Find(kProp));
    EXPECT_TRUE(Has(page, L"FCurve TimingWarp [FCurveWidget] height=150")) << page;
    for (const wchar_t* view : {L"@ViewMinX = -5.0", L"@ViewMaxX = 70.0", L"@ViewMinY = -15.0", L"@ViewMaxY = 80.0"})
        EXPECT_TRUE(Has(page, view)) << std::wstring(view) << L"\n" << page;
    Mode(4);
    EXPECT_FALSE(Has(host.DescribePage(host.Find(kProp)), L"\"Time\""));
}

TEST_F(CacheTest, TheRamCacheRecordsEachFrameOnceAndEmptiesOnAModeChange) {
    const std::vector<double> one = SetInput();
    EXPECT_EQ(At(1), one);
    const std::vector<double> two = SetInput();
    EXPECT_EQ(At(2), two);
    SetInput();
    EXPECT_EQ(At(1), one);  // replayed, whatever the input is now
    EXPECT_EQ(At(2), two);
    // Frames beyond the range share the last slot.
    EXPECT_EQ(At(100), At(250));

    // A range of the same length elsewhere keeps the recording; another length does not.
    Set(L"StartFrame", CValue(LONG(2)));
    Set(L"EndFrame", CValue(LONG(101)));
    EXPECT_EQ(At(2), one);  // slot 0
    Set(L"EndFrame", CValue(LONG(50)));
    std::vector<double> now = SetInput();
    EXPECT_EQ(At(2), now);

    // Hold shows the input; back in Cache To RAM the cache starts empty.
    Mode(0);
    now = SetInput();
    EXPECT_EQ(At(2), now);
    Mode(1);
    now = SetInput();
    EXPECT_EQ(At(2), now);
    // Disabled: nothing written, the map reads its own weights; enabling again empties the cache.
    Set(L"Enable", CValue(false));
    now = SetInput();
    EXPECT_EQ(At(2), now);
    Set(L"Enable", CValue(true));
    now = SetInput();
    EXPECT_EQ(At(2), now);

    // An empty (reversed) range has no cache: the input passes through, in memory and file modes.
    Set(L"EndFrame", CValue(LONG(-5)));
    for (LONG mode : {1, 2}) {
        Mode(mode);
        now = SetInput();
        EXPECT_EQ(At(3), now) << mode;
    }
}

TEST_F(CacheTest, FilesAreWrittenThenReplayedWithTheirTimings) {
    Set(L"StartFrame", CValue(LONG(-5)));
    Set(L"EndFrame", CValue(LONG(20)));
    Mode(4);
    Log();
    std::map<int, std::vector<double>> recorded;
    for (int f = -3; f <= 12; ++f) {
        recorded[f] = SetInput();
        EXPECT_EQ(At(f), recorded[f]);  // writing passes the input through
    }
    const std::wstring log = Log();
    // The object's folder is announced once, the files one by one.
    size_t created = 0;
    for (size_t at = log.find(L"[zrCacheMapOp] > Created : "); at != std::wstring::npos;
         at = log.find(L"[zrCacheMapOp] > Created : ", at + 1))
        ++created;
    EXPECT_EQ(created, 1u);
    EXPECT_TRUE(Has(log, L"8 [zrCacheMapOp] > Write to: " + (project / kFiles).wstring() + L"000-3.wmc\n"));
    EXPECT_TRUE(fs::is_regular_file(File("000-3")));
    for (const auto& [f, w] : recorded) {
        char text[16];
        std::snprintf(text, sizeof text, "%05d", f);
        EXPECT_EQ(Bytes(File(f < 0 ? "000-" + std::to_string(-f) : text)), Frame(w)) << f;
    }

    // Enable off writes nothing.
    fs::remove(File("00012"));
    Set(L"Enable", CValue(false));
    At(11);
    At(12);
    EXPECT_FALSE(fs::exists(File("00012")));
    Set(L"Enable", CValue(true));

    // Read back bit for bit, whatever the input is now.
    Mode(3);
    SetInput();
    EXPECT_EQ(At(5), recorded[5]);
    EXPECT_TRUE(Has(Log(), L"8 [zrCacheMapOp] > Read from: " + File("00005").wstring() + L"\n"));
    // Offset 2 at frame 5 reads frame 3; half speed from -5: frame 17 gives 6, frame 18 6.5.
    Set(L"Offset", CValue(LONG(2)));
    EXPECT_EQ(At(5), recorded[3]);
    Set(L"Offset", CValue(LONG(0)));
    Set(L"TimingMode", CValue(LONG(1)));
    Set(L"TimingScale", CValue(0.5));
    EXPECT_EQ(At(17), recorded[6]);
    const std::vector<double> blended = At(18);
    ASSERT_EQ(blended.size(), recorded[6].size());
    for (size_t i = 0; i < blended.size(); ++i) EXPECT_EQ(blended[i], 0.5 * recorded[6][i] + 0.5 * recorded[7][i]);
    // Played backwards from the end: frame -5 reads 20, which is not there: the input passes.
    Set(L"TimingScale", CValue(-1.0));
    std::vector<double> now = SetInput();
    EXPECT_EQ(At(-4), now);
    EXPECT_TRUE(Has(Log(), L"4 [zrCacheMapOp] > Not found: " + File("00019").wstring() + L"\n"));
    EXPECT_EQ(At(10), recorded[5]);

    // Read From File - Cache To RAM keeps what it read, even once the file is gone.
    Set(L"TimingMode", CValue(LONG(0)));
    Mode(2);
    EXPECT_EQ(At(8), recorded[8]);
    fs::remove(File("00008"));
    At(9);
    EXPECT_EQ(At(8), recorded[8]);
}

TEST_F(CacheTest, BadCacheFilesNeverLoseTheMapsWeights) {
    Set(L"EndFrame", CValue(LONG(10)));
    Mode(4);
    std::vector<double> input = SetInput();
    At(1);
    Mode(3);
    const size_t n = input.size();

    // A file of another count: the host refuses the array and the map keeps its weights.
    WriteBytes(File("00002"), Frame({1, 2, 3}));
    EXPECT_EQ(At(2), input);
    std::wstring log = Log();
    EXPECT_TRUE(Has(log, L"Read from: " + File("00002").wstring()));
    EXPECT_TRUE(Has(log, L"2 PutArray: " + kMap + L" holds " + std::to_wstring(n) + L" values, 3 given"));
    // Shorter than its count: the missing weights read as 0, and the log says so.
    std::string bytes = Frame(input);
    bytes.resize(4 + 8 * 10);
    WriteBytes(File("00003"), bytes);
    std::vector<double> expected(input.begin(), input.begin() + 10);
    expected.resize(n, 0.0);
    EXPECT_EQ(At(3), expected);
    EXPECT_TRUE(Has(Log(), L"4 [zrCacheMapOp] > Incomplete: " + File("00003").wstring()));
    // A count of two billion in a 4-byte file: read as the map's count of zeros.
    WriteBytes(File("00004"), std::string("\x00\x94\x35\x77", 4));
    EXPECT_EQ(At(4), std::vector<double>(n, 0.0));
    // No count, a negative count, a folder: the input passes through.
    WriteBytes(File("00005"), "");
    WriteBytes(File("00006"), std::string("\xFB\xFF\xFF\xFF", 4) + std::string(16, '\0'));
    fs::create_directory(File("00007"));
    for (const char* frame : {"00005", "00006", "00007"}) {
        input = SetInput();
        EXPECT_EQ(At(std::stoi(frame)), input) << frame;
        log = Log();
        EXPECT_TRUE(Has(log, L"4 [zrCacheMapOp] > Unreadable: " + File(frame).wstring())) << frame;
    }
    // A folder cannot be written over, nor can a root under a file.
    Mode(4);
    input = SetInput();
    EXPECT_EQ(At(7), input);
    EXPECT_TRUE(Has(Log(), L"8 [zrCacheMapOp] > Unable to Create: " + File("00007").wstring() + L"\n"));
    WriteBytes(project / "plain", "x");
    Set(L"RootPath", CValue((project / "plain").c_str()));
    EXPECT_EQ(At(8), input);
    EXPECT_TRUE(Has(Log(), L"Unable to Create: " + (project / "plain/Scene_Root/grid").wstring()));
    // A FullPath edited into something that names no weight map (or steps out of the root).
    for (const wchar_t* path : {L"", L"a.b.c", L"Scene_Root....cls.x.y", L"Scene_Root.g/h.p.c.k.m"}) {
        ASSERT_EQ(host.SetValue(kMap + L".zrCacheMapOp.FullPath", CValue(path)), CStatus::OK);
        input = SetInput();
        EXPECT_EQ(At(9), input);
        EXPECT_TRUE(Has(Log(), L"4 [zrCacheMapOp] > FullPath does not name a weight map")) << path;
    }
}
