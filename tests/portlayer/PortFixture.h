// The ground of every contract test: a private run directory, names, messages, and the proof at the
// end that nothing is left alive.
#pragma once

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "tests/portlayer/PortBackend.h"
#include "tests/support/product/PortMessages.h"
#include "tests/support/system/RunDirectory.h"

namespace Kyr::Test {

using NtApi::Handle;
using NtApi::NtStatus;

Bytes ToBytes(const std::string& text);
/// `size` bytes that differ from place to place.
Bytes Pattern(std::size_t size);

/// A relative native time-out.
std::int64_t Within(std::chrono::milliseconds duration);

class PortFixture : public testing::TestWithParam<const PortBackend*> {
  protected:
    void SetUp() override;
    void TearDown() override;

    const PortBackend& Ports() const { return *GetParam(); }
    const std::string& RunDirectory() const { return directory_->Path(); }
    static NtApi::UnicodeString* Name();
    /// Removes what a killed process left in the run directory.
    void ForgetName();

  private:
    std::unique_ptr<CRunDirectory> directory_;
};

/// Every back end of this build, for INSTANTIATE_TEST_SUITE_P.
inline auto Backends() {
    return testing::Values(&kLayerBackend);
}
inline std::string BackendName(const testing::TestParamInfo<const PortBackend*>& info) {
    return info.param->name;
}

}  // namespace Kyr::Test
