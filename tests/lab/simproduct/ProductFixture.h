// A product over fake processes, with one program file of known digests.
#pragma once

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

#include "lab/simproduct/processes/TaskBook.h"
#include "tests/lab/common/LineList.h"
#include "tests/lab/simproduct/FakeLauncher.h"

namespace Kyr::Lab::SimProduct {

/// The digests of "abc", which is all that the program file holds.
constexpr char kSha1[] = "a9993e364706816aba3e25717850c26c9cd0d89d";
constexpr char kSha256[] = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

class ProductFixture : public ::testing::Test {
  protected:
    ProductFixture() { std::ofstream(program_, std::ios::binary) << "abc"; }
    ~ProductFixture() override { std::remove(program_.c_str()); }

    /// Starts "one", which gets the number 1000, and forgets the events of the start.
    void StartOne() {
        product_.Start("one", program_, {});
        lines_.Take();
    }

    // With slashes everywhere: a line puts a word with backslashes in quotes.
    const std::string program_ =
        std::filesystem::path(::testing::TempDir() + "simproduct_program_" +
                              std::to_string(OwnProcessId()))
            .generic_string();
    CLineList lines_;
    CFakeLauncher launcher_;
    CLabProcesses processes_{launcher_, lines_.Sink()};
    CTaskResults results_;
    CTaskBook product_{processes_, results_, lines_.Sink()};
};

}  // namespace Kyr::Lab::SimProduct
