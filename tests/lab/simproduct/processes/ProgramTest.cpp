#include "lab/simproduct/processes/Program.h"
#include "tests/lab/simproduct/ProductFixture.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ProgramTest = ProductFixture;

TEST_F(ProgramTest, DigestsAreLowerCaseHexadecimal) {
    const Program program = ReadProgram(program_);

    EXPECT_EQ(program_, program.path);
    EXPECT_EQ(kSha1, program.sha1);
    EXPECT_EQ(kSha256, program.sha256);
}

TEST_F(ProgramTest, MissingFileIsAnError) {
    EXPECT_THROW(ReadProgram(folder_.File("none")), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
