// The file that stands for the product's registration, with contents that no installer writes.
#include <Poco/Environment.h>
#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>

#include "module/ProductBuildReader.h"
#include "portlayer/RunFiles.h"
#include "tests/support/ThrownText.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

constexpr char kNoNumber[] = "The registered product build is no 32-bit number";
constexpr char kUnreadable[] = "The registered product build cannot be read: status C0000022";

class RunFileBuildTest : public testing::Test {
  protected:
    RunFileBuildTest() {
        boost::filesystem::permissions(folder_.Path(), boost::filesystem::owner_all);
        Poco::Environment::set("KELCOMM_RUNTIME_DIR", folder_.Path());
    }

    std::optional<std::int64_t> Read(const std::string& text) {
        EXPECT_EQ(PortLayer::WriteRunFile("ovanta-agent-build", text), 0);
        return reader_->Read();
    }
    std::string Failure(const std::string& text) {
        return Kyr::Test::ThrownText([&] { Read(text); });
    }

    const Kyr::Test::CTemporaryFolder folder_;
    const boost::shared_ptr<IProductBuildReader> reader_ = SystemProductBuildReader();
};

TEST_F(RunFileBuildTest, NewlineAtTheEndDoesNoHarm) {
    EXPECT_EQ(Read("5543\n"), 5543);
}

TEST_F(RunFileBuildTest, TextThatIsNoNumberIsRefused) {
    for (const char* text : {"", "\n", "build", "5543x", "5543 ", " 5543", "+5543", "0x15A7",
                             "5543.0", "5543\n\n", "--1"}) {
        EXPECT_EQ(Failure(text), kNoNumber) << text;
    }
}

TEST_F(RunFileBuildTest, NumberOfMoreThan32BitsIsRefused) {
    for (const char* text : {"2147483648", "-2147483649", "4294967295", "99999999999999999999"}) {
        EXPECT_EQ(Failure(text), kNoNumber) << text;
    }
}

TEST_F(RunFileBuildTest, MissingFileAndMissingDirectoryMeanNotInstalled) {
    EXPECT_EQ(reader_->Read(), std::nullopt);
    Poco::Environment::set("KELCOMM_RUNTIME_DIR", folder_.File("missing"));
    EXPECT_EQ(reader_->Read(), std::nullopt);
}

TEST_F(RunFileBuildTest, RegistrationThatCannotBeReadIsAFailureWithItsStatus) {
    boost::filesystem::create_directory(folder_.File("ovanta-agent-build"));
    EXPECT_EQ(Kyr::Test::ThrownText([this] { reader_->Read(); }), kUnreadable);
}

TEST_F(RunFileBuildTest, RunDirectoryThatOthersMayEnterIsAFailureWithItsStatus) {
    boost::filesystem::permissions(folder_.Path(),
                                   boost::filesystem::add_perms | boost::filesystem::others_read);
    EXPECT_EQ(Kyr::Test::ThrownText([this] { reader_->Read(); }), kUnreadable);
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
