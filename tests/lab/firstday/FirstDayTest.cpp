#include <chrono>
#include <gmock/gmock.h>
#include <sstream>

#include <boost/filesystem/operations.hpp>

#include "lab/firstday/FirstDay.h"
#include "lab/runner/ReadFile.h"
#include "tests/lab/runner/ParrotFolder.h"

namespace Kyr::Lab::FirstDay {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

/// Programs of the first day, all of them parrots. Unless a test says otherwise, all is well.
class FirstDayTest : public ::testing::Test {
  protected:
    FirstDayTest() {
        Does("portcontract",
             "raw WireTest.\nraw   Carries\nraw   Refuses  # with a comment\nend 0\n");
        Does("WireTest.Carries", "end 0\n");
        Does("WireTest.Refuses", "end 0\n");
        Does("simproduct-system", "ready pid=1 alpc=open lpc=open\n");
        Does("--install-only", "end 0\n");
        Does("ovprobe", "raw fine  everything\nend 0\n");
        Does("labrunner", "end 0\n");
    }

    void Does(const std::string& name, const std::string& lines) const {
        folder_.Write(name + ".obey", lines);
    }
    std::string Calls(const std::string& name) const {
        const std::string file = folder_.File(name + ".calls");
        return boost::filesystem::exists(file) ? Runner::ReadFile(file) : "";
    }

    Outcome Try() {
        std::ostringstream screen;
        const Outcome outcome = TryAll(plan_, report_, screen);
        EXPECT_EQ(screen.str(), report_.str());
        return outcome;
    }
    std::string Report() const { return report_.str(); }

    const Runner::CParrotFolder folder_{
        {"portcontract", "simproduct-system", "ovprobe", "labrunner"}};
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
    Does("WireTest.Refuses", "raw WireTest.cpp:12: Failure\nend 1\n");
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(), HasSubstr("as expected  WireTest.Carries\n"
                                    "OTHERWISE    WireTest.Refuses\n"
                                    "    WireTest.cpp:12: Failure\n"));
    EXPECT_THAT(Report(), HasSubstr("contract of the ports: 2 tests, 1 otherwise\n"));
}

TEST_F(FirstDayTest, ContractTestWithoutEndIsEndedAndTheOthersAreTried) {
    plan_.testLimit = std::chrono::milliseconds(3000);
    Does("WireTest.Carries", "raw waits\n");
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(), HasSubstr("OTHERWISE    WireTest.Carries\n"
                                    "    waits\n"
                                    "    portcontract did not end within 3000 ms\n"
                                    "as expected  WireTest.Refuses\n"));
}

TEST_F(FirstDayTest, ContractWithoutTestsIsNotAsExpected) {
    Does("portcontract", "raw libgtest.dll is missing\nend 1\n");
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(), HasSubstr("    libgtest.dll is missing\n"));
}

TEST_F(FirstDayTest, ProductThatCannotServeIsToldInItsOwnWords) {
    Does("simproduct-system", "error text=\"access denied\"\nend 0\n");
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(),
                HasSubstr("simulated product: 00:00:00.000 error text=\"access denied\"\n"));
    EXPECT_THAT(Report(), HasSubstr("own ports: DOES NOT SERVE\n"));
}

TEST_F(FirstDayTest, ProgramThatIsMissingIsToldAndTheOthersAreTried) {
    boost::filesystem::remove(folder_.Program("ovprobe"));
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(), HasSubstr("ovprobe" KYR_PROGRAM_SUFFIX ": there is no such file\n"));
    EXPECT_THAT(Report(), HasSubstr("life 9-policy: as expected\n"));
}

TEST_F(FirstDayTest, LifeThatIsOtherwiseIsToldWithItsOutput) {
    Does("labrunner", "raw line 12: the host said nothing\nend 1\n");
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(), HasSubstr("    line 12: the host said nothing\n"));
    EXPECT_THAT(Report(), HasSubstr("life 1-kill: OTHERWISE\nlife 9-policy: OTHERWISE\n"));
}

TEST_F(FirstDayTest, RegistrationThatStaysIsTold) {
    Does("--install-only", "end 1\n");
    EXPECT_EQ(Try(), Outcome::kOtherwise);
    EXPECT_THAT(Report(), HasSubstr("the simulated product is still registered\n"));
}

TEST_F(FirstDayTest, SystemWithoutTheFunctionsIsToldWhatCouldNotBeTried) {
    plan_.missing = "NtAlpcCreatePort, NtAlpcAcceptConnectPort";
    Does("ovprobe", "raw wrong  native functions\nend 3\n");
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
