#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>

#include "lab/simproduct/processes/Process.h"
#include "lab/simproduct/processes/Program.h"

namespace Kyr::Lab::SimProduct {
namespace {

std::string TemporaryPath(const std::string& name) {
    return ::testing::TempDir() + "simproduct_" + name + std::to_string(OwnProcessId());
}

TEST(ProgramTest, DigestsAreLowerCaseHexadecimal) {
    const std::string path = TemporaryPath("abc");
    std::ofstream(path, std::ios::binary) << "abc";

    const Program program = ReadProgram(path);
    std::remove(path.c_str());

    EXPECT_EQ(path, program.path);
    EXPECT_EQ("a9993e364706816aba3e25717850c26c9cd0d89d", program.sha1);
    EXPECT_EQ("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad", program.sha256);
}

TEST(ProgramTest, EmptyFileHasDigestsToo) {
    const std::string path = TemporaryPath("empty");
    std::ofstream(path, std::ios::binary).flush();

    const Program program = ReadProgram(path);
    std::remove(path.c_str());

    EXPECT_EQ("da39a3ee5e6b4b0d3255bfef95601890afd80709", program.sha1);
}

TEST(ProgramTest, MissingFileIsAnError) {
    EXPECT_THROW(ReadProgram(::testing::TempDir() + "no/such/program"), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
