// The ground of every contract test: a private run directory, names, messages, and the proof at the
// end that nothing is left alive.
#pragma once

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "portlayer/LiveCounters.h"
#include "portlayer/ServerFunctions.h"
#include "tests/support/product/PortMessages.h"
#include "tests/support/system/RunDirectory.h"

namespace Kyr::Test {

using namespace PortLayer;

Bytes ToBytes(const std::string& text);
/// `size` bytes that differ from place to place.
Bytes Pattern(std::size_t size);

/// A relative native time-out.
std::int64_t Within(std::chrono::milliseconds duration);

class PortFixture : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    const std::string& RunDirectory() const { return directory_->Path(); }
    std::string Path(const std::string& file) const { return RunDirectory() + '/' + file; }
    static Handle CreateSection(std::uint32_t size, const char16_t* name);
    /// The whole section. 2: for writing, 4: for reading.
    static std::uint8_t* Map(Handle section, std::uint32_t access) {
        return static_cast<std::uint8_t*>(MapViewOfFile(section, access, 0, 0, 0));
    }
    static NtApi::UnicodeString* Name();
    /// To create the port of that name with.
    static NtApi::ObjectAttributes* Attributes();
    /// Removes what a killed process left in the run directory.
    void ForgetName();

  private:
    std::unique_ptr<CRunDirectory> directory_;
};

}  // namespace Kyr::Test
