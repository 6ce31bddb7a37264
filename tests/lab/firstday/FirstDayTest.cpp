#include <chrono>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>

#include <boost/filesystem/operations.hpp>

#include "lab/firstday/FirstDay.h"
#include "lab/runner/ReadFile.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::FirstDay {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

/// Programs of the first day, all of them pretenders. Unless a test says otherwise, all is well.
class FirstDayTest : public ::testing::Test {
  protected:
    FirstDayTest() {
        for (const char* const name :
             {"portcontract", "simproduct-system", "ovprobe", "labrunner"}) {
            boost::filesystem::copy_file(KYR_PRETENDER, folder_.File(name) + KYR_PROGRAM_SUFFIX);
        }
        Does("portcontract", "end 0\nWireTest.\n  Carries\n  Refuses  # with a comment\n");
        Does("WireTest.Carries", "end 0\n");
        Does("WireTest.Refuses", "end 0\n");
        Does("simproduct-system", "serve\n00:00:00.000 ready pid=1 alpc=open lpc=open\n");
        Does("ovprobe", "end 0\nfine  everything\n");
        Does("labrunner", "end 0\n");
    }

    void Does(const std::string& name, const std::string& what) const {
        std::ofstream(folder_.File(name + ".does")) << what;
    }
    std::string Calls(const std::string& name) const {
        const std::string file = folder_.File(name + ".calls");
        return boost::filesystem::exists(file) ? Runner::ReadFile(file) : "";
    }

    Outcome Try() {
        std::ostringstream screen;
        const Outcome outcome = CFirstDay(plan_, report_, screen).Run();
        EXPECT_EQ(screen.str(), report_.str());
        return outcome;
    }
    std::string Report() const { return report_.str(); }

    const Kyr::Test::CTemporaryFolder folder_;
    Plan plan_{folder_.Path(), "the-library", "scenarios", {"1-kill", "9-policy"}, ""};

  private:
    std::ostringstream report_;
};

TEST_F(FirstDayTest, SystemThatDoesAllIsToldPartByPart) {
    EXPECT_EQ(Try(), Outcome::kAsExpected);
    EXPECT_EQ(Report(),
              "\n"
              "== functions of the ports in ntdll.dll\n"
              "all are there\n"
              "\n"
              "== the contract of the ports\n"
              "as expected  WireTest.Carries\n"
              "as expected  WireTest.Refuses\n"
              "\n"
              "== ovprobe doctor\n"
              "simulated product: 00:00:00.000 ready pid=1 alpc=open lpc=open\n"
              "    fine  everything\n"
              "\n"
              "== lives of the unmodified library\n"
              "\n"
              "== what came out\n"
              "contract of the ports: 2 tests, 0 otherwise\n"
              "a simulated product on the system's own ports: serves\n"
              "ovprobe doctor: ended with code 0\n"
              "life 1-kill: as expected\n"
              "life 9-policy: as expected\n");
}

TEST_F(FirstDayTest, LivesAreThoseOfTheUnmodifiedLibraryWithTheProductOnTheSystemsPorts) {
    Try();
    const std::string start = "--programs=" + folder_.Path() +
                              " --library=the-library --product=simproduct-system --quiet "
                              "--colour=never scenarios/";
    EXPECT_EQ(Calls("labrunner"), start + "1-kill.scenario\n" + start + "9-policy.scenario\n");
}

TEST_F(FirstDayTest, RegistrationOfTheSimulatedProductIsTakenBack) {
    Try();
    EXPECT_EQ(Calls("simproduct-system"),
              "\n--not-installed --install-only\n--not-installed --install-only\n");
}

TEST_F(FirstDayTest, ContractTestThatFailsIsToldWithItsOutput) {
    Does("WireTest.Refuses", "end 1\nWireTest.cpp:12: Failure\n");
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(), HasSubstr("as expected  WireTest.Carries\n"
                                    "OTHERWISE    WireTest.Refuses\n"
                                    "    WireTest.cpp:12: Failure\n"));
    EXPECT_THAT(Report(), HasSubstr("contract of the ports: 2 tests, 1 otherwise\n"));
}

TEST_F(FirstDayTest, ContractTestWithoutEndIsEndedAndTheOthersAreTried) {
    plan_.testLimit = std::chrono::milliseconds(500);
    Does("WireTest.Carries", "stay\nwaits\n");
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(), HasSubstr("OTHERWISE    WireTest.Carries\n"
                                    "    waits\n"
                                    "    portcontract did not end within 500 ms\n"
                                    "as expected  WireTest.Refuses\n"));
}

TEST_F(FirstDayTest, ContractWithoutTestsIsNotAsExpected) {
    Does("portcontract", "end 1\nlibgtest.dll is missing\n");
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(), HasSubstr("    libgtest.dll is missing\n"));
}

TEST_F(FirstDayTest, ProductThatCannotServeIsToldInItsOwnWords) {
    Does("simproduct-system", "end 0\n00:00:00.000 error text=\"access denied\"\n");
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(),
                HasSubstr("simulated product: 00:00:00.000 error text=\"access denied\"\n"));
    EXPECT_THAT(Report(), HasSubstr("own ports: DOES NOT SERVE\n"));
}

TEST_F(FirstDayTest, ProgramThatIsMissingIsToldAndTheOthersAreTried) {
    boost::filesystem::remove(folder_.File("ovprobe") + KYR_PROGRAM_SUFFIX);
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(), HasSubstr("ovprobe" KYR_PROGRAM_SUFFIX ": there is no such file\n"));
    EXPECT_THAT(Report(), HasSubstr("life 9-policy: as expected\n"));
}

TEST_F(FirstDayTest, LifeThatIsOtherwiseIsToldWithItsOutput) {
    Does("labrunner", "end 1\nline 12: the host said nothing\n");
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(), HasSubstr("    line 12: the host said nothing\n"));
    EXPECT_THAT(Report(), HasSubstr("life 1-kill: OTHERWISE\nlife 9-policy: OTHERWISE\n"));
}

TEST_F(FirstDayTest, RegistrationThatStaysIsTold) {
    Does("simproduct-system", "end 1\n00:00:00.000 ready pid=1\n");
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(), HasSubstr("the simulated product is still registered\n"));
}

TEST_F(FirstDayTest, SystemWithoutTheFunctionsIsToldWhatCouldNotBeTried) {
    plan_.missing = "NtAlpcCreatePort, NtAlpcAcceptConnectPort";
    Does("ovprobe", "end 3\nwrong  native functions\n");
    EXPECT_EQ(Try(), Outcome::kNotTried);
    EXPECT_THAT(
        Report(),
        EndsWith("== what came out\n"
                 "contract of the ports: NOT TRIED\n"
                 "a simulated product on the system's own ports: NOT TRIED\n"
                 "ovprobe doctor: ended with code 3\n"
                 "lives of the unmodified library: NOT TRIED\n"
                 "Not tried: this system has no NtAlpcCreatePort, NtAlpcAcceptConnectPort.\n"));
    EXPECT_THAT(Report(), HasSubstr("== the contract of the ports\n"
                                    "NOT TRIED: contract of the ports\n"));
    EXPECT_THAT(Report(), HasSubstr("    wrong  native functions\n"));
    EXPECT_EQ(Calls("portcontract") + Calls("simproduct-system") + Calls("labrunner"), "");
}

TEST_F(FirstDayTest, ProductThatIsInstalledIsLookedAtAndNotReplaced) {
    plan_.isInstalled = true;
    EXPECT_EQ(Try(), Outcome::kNotTried);
    EXPECT_EQ(Calls("simproduct-system") + Calls("labrunner"), "");
    EXPECT_EQ(Calls("ovprobe"), "doctor\n");
    EXPECT_THAT(Report(), EndsWith("== what came out\n"
                                   "contract of the ports: 2 tests, 0 otherwise\n"
                                   "a simulated product on the system's own ports: NOT TRIED\n"
                                   "ovprobe doctor: ended with code 0\n"
                                   "lives of the unmodified library: NOT TRIED\n"
                                   "Not tried: a product is installed here, and a simulated one "
                                   "must not take its place.\n"));
}

}  // namespace
}  // namespace Kyr::Lab::FirstDay
