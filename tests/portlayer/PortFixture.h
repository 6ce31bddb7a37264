// The ground of every contract test: a private run directory, names, messages, and the proof at the
// end that nothing is left alive.
#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "portlayer/LiveCounters.h"
#include "portlayer/ServerFunctions.h"
#include "tests/support/product/PortMessages.h"
#include "tests/support/system/RunDirectory.h"

namespace Kyr::Test {

using namespace PortLayer;

Bytes ToBytes(const std::string& text);
/// `size` bytes that differ from place to place.
Bytes Pattern(std::size_t size);

class PortFixture : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;
    /// Has it closed at the end of the test, unless the test does. Any thread.
    Handle CloseLater(Handle handle);
    /// The layer's.
    Bool CloseHandle(Handle handle);
    void CloseAll();

    const std::string& RunDirectory() const { return path_; }
    std::string Path(const std::string& file) const { return path_ + '/' + file; }
    Handle CreateSection(std::uint32_t size, const char16_t* name);
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
    std::unique_ptr<CRunDirectory> directory_;  // null in a second process
    std::string path_;
    std::mutex mutex_;
    std::vector<Handle> opened_;  // guarded by mutex_
};

}  // namespace Kyr::Test
