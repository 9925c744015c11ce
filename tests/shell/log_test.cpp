// The plug-in's log lines: texts and severities as users and scripts read them.
#include <stdexcept>

#include "shell/guard.h"
#include "shell/log.h"
#include "support.h"

namespace {

using shelltest::HostTest;
using Lines = std::vector<std::pair<int, std::wstring>>;

TEST_F(HostTest, BannerAndDoneFrameACommand) {
    std::size_t from = host.GetLog().Count();
    orbelin::LogBanner(L"Apply ProximityMap");
    orbelin::LogDone();
    EXPECT_EQ(LinesSince(from), (Lines{
                                    {8, L"[OrbelinPlugin] Version 1.0a1 -------------------------------"},
                                    {8, L"[OrbelinPlugin] [ Apply ProximityMap ]"},
                                    {8, L"[OrbelinPlugin] Done --------------------------------------"},
                                }));
}

TEST_F(HostTest, MessagesCarryTheMarkerAtTheirSeverity) {
    std::size_t from = host.GetLog().Count();
    orbelin::LogInfo(L"Pick Target(s)...");
    orbelin::LogWarning(L"careful");
    orbelin::LogError(L"You must select or pick at least one cluster!");
    orbelin::LogInfo(L"");
    EXPECT_EQ(LinesSince(from), (Lines{
                                    {8, L"[OrbelinPlugin] >> Pick Target(s)..."},
                                    {4, L"[OrbelinPlugin] >> careful"},
                                    {2, L"[OrbelinPlugin] >> You must select or pick at least one cluster!"},
                                    {8, L"[OrbelinPlugin] >> "},
                                }));
}

// No exception may reach the host: the guard logs it and reports a failure instead.
TEST_F(HostTest, CallbackGuardTurnsAnExceptionIntoAFailure) {
    std::size_t from = host.GetLog().Count();
    XSI::CStatus st = orbelin::CallbackGuard(L"Orbelin_Test_Init", []() -> XSI::CStatus {
        throw std::runtime_error("boom");
    });
    EXPECT_EQ(st, XSI::CStatus::Fail);
    EXPECT_EQ(LinesSince(from), (Lines{
                                    {2, L"[OrbelinPlugin] >> Unexpected failure in Orbelin_Test_Init: boom"}}));
    EXPECT_EQ(orbelin::CallbackGuard(L"x", []() -> XSI::CStatus { throw 42; }), XSI::CStatus::Fail);
}

}  // namespace
