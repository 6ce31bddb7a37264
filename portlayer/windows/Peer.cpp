#include "portlayer/windows/Peer.h"

#include <vector>

#include "portlayer/windows/SystemHeader.h"

namespace Kyr::PortLayer::Detail {

namespace {

/// A TOKEN_USER with its SID behind it; empty on failure.
std::vector<std::uint8_t> UserOf(HANDLE process) {
    HANDLE opened = nullptr;
    if (::OpenProcessToken(process, TOKEN_QUERY, &opened) == 0) {
        return {};
    }
    const CSystemHandle token = Own(opened);
    DWORD size = 0;
    // The first call only tells the size, and fails as it should.
    ::GetTokenInformation(opened, TokenUser, nullptr, 0, &size);
    std::vector<std::uint8_t> user(size);
    if (size == 0 || ::GetTokenInformation(opened, TokenUser, user.data(), size, &size) == 0) {
        return {};
    }
    return user;
}

PSID SidOf(const std::vector<std::uint8_t>& user) {
    return reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid;
}

const std::vector<std::uint8_t>& OwnUser() {
    // Never destroyed: threads may still look at exit.
    static const auto* const user = new std::vector<std::uint8_t>(UserOf(::GetCurrentProcess()));
    return *user;
}

/// A descriptor and its list, with one entry: everything for our own user.
class COwnUserDescriptor {
  public:
    COwnUserDescriptor() {
        if (OwnUser().empty()) {
            return;
        }
        PSID const sid = SidOf(OwnUser());
        const std::size_t size =
            sizeof(ACL) + sizeof(ACCESS_ALLOWED_ACE) + ::GetLengthSid(sid) - sizeof(DWORD);
        list_.resize((size + sizeof(DWORD) - 1) / sizeof(DWORD));
        auto* const list = reinterpret_cast<ACL*>(list_.data());
        const auto bytes = static_cast<DWORD>(list_.size() * sizeof(DWORD));
        valid_ = ::InitializeAcl(list, bytes, ACL_REVISION) != 0 &&
                 ::AddAccessAllowedAce(list, ACL_REVISION, GENERIC_ALL, sid) != 0 &&
                 ::InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION) != 0 &&
                 ::SetSecurityDescriptorDacl(&descriptor_, TRUE, list, FALSE) != 0;
        attributes_ = {sizeof attributes_, &descriptor_, FALSE};
    }
    SECURITY_ATTRIBUTES* Attributes() { return valid_ ? &attributes_ : nullptr; }

  private:
    std::vector<DWORD> list_;
    SECURITY_DESCRIPTOR descriptor_ = {};
    SECURITY_ATTRIBUTES attributes_ = {};
    bool valid_ = false;
};

}  // namespace

bool IsProcessOfSameUser(std::uint32_t processId) {
    const CSystemHandle process = Own(::OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, processId));
    if (!process.IsOpen() || OwnUser().empty()) {
        return false;
    }
    const std::vector<std::uint8_t> user = UserOf(Native(process));
    return !user.empty() && ::EqualSid(SidOf(user), SidOf(OwnUser())) != 0;
}

SECURITY_ATTRIBUTES* OwnUserOnly() {
    static auto* const descriptor = new COwnUserDescriptor;
    return descriptor->Attributes();
}

}  // namespace Kyr::PortLayer::Detail
