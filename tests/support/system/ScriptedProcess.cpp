#include "tests/support/system/ScriptedProcess.h"

#include <cstring>

namespace Kyr::Test {

namespace {

using Guard = std::lock_guard<std::mutex>;

constexpr std::uint32_t kTokenUser = 1;

NtApi::Handle ThisProcess() {
    return reinterpret_cast<NtApi::Handle>(std::intptr_t{-1});
}

}  // namespace

struct CScriptedProcess::Functions {
    static NtApi::Handle KYR_NTAPI GetCurrentProcess() {
        current_->calls_.Note("GetCurrentProcess");
        return ThisProcess();
    }
    static NtApi::Bool KYR_NTAPI IsWow64Process(NtApi::Handle process, NtApi::Bool* isWow64) {
        if (!current_->calls_.Require(process == ThisProcess(), "IsWow64Process of another") ||
            !current_->calls_.Enter("IsWow64Process")) {
            return 0;
        }
        *isWow64 = current_->isWow64 ? 1 : 0;
        return 1;
    }
    static NtApi::Bool KYR_NTAPI OpenProcessToken(NtApi::Handle process, std::uint32_t access,
                                                  NtApi::Handle* token) {
        {
            const Guard guard(current_->mutex_);
            current_->tokenAccess = access;
        }
        if (!current_->calls_.Require(process == ThisProcess(), "OpenProcessToken of another") ||
            !current_->calls_.Enter("OpenProcessToken")) {
            return 0;
        }
        *token = current_->objects_.Open("token");
        return 1;
    }
    static NtApi::Bool KYR_NTAPI GetTokenInformation(NtApi::Handle token, std::uint32_t kind,
                                                     void* buffer, std::uint32_t size,
                                                     std::uint32_t* returned) {
        current_->objects_.Check(token);
        {
            const Guard guard(current_->mutex_);
            current_->tokenBufferSize = size;
        }
        if (!current_->calls_.Require(kind == kTokenUser, "GetTokenInformation of another kind") ||
            !current_->calls_.Enter("GetTokenInformation")) {
            return 0;
        }
        void* const user = current_->userSid_;
        std::memcpy(buffer, &user, sizeof(user));
        *returned = sizeof(user);
        return 1;
    }
    static NtApi::Bool KYR_NTAPI AllocateAndInitializeSid(
        const std::uint8_t* authority, std::uint8_t count, std::uint32_t first,
        std::uint32_t second, std::uint32_t third, std::uint32_t fourth, std::uint32_t fifth,
        std::uint32_t sixth, std::uint32_t seventh, std::uint32_t eighth, void** sid) {
        {
            const Guard guard(current_->mutex_);
            current_->sidAuthority.assign(authority, authority + 6);
            current_->sidParts.assign(
                {count, first, second, third, fourth, fifth, sixth, seventh, eighth});
        }
        if (!current_->calls_.Enter("AllocateAndInitializeSid")) {
            return 0;
        }
        *sid = current_->localSystemSid_;
        current_->objects_.Add(*sid, "sid");
        return 1;
    }
    static NtApi::Bool KYR_NTAPI EqualSid(void* first, void* second) {
        current_->calls_.Note("EqualSid");
        return current_->isLocalSystem && first == current_->userSid_ &&
                       second == current_->localSystemSid_
                   ? 1
                   : 0;
    }
    static void* KYR_NTAPI FreeSid(void* sid) {
        current_->calls_.Note("FreeSid");
        current_->objects_.Close(sid);
        return nullptr;
    }
};

CScriptedProcess::CScriptedProcess(CScriptedCalls& calls, CScriptedObjects& objects,
                                   Connectors::Common::Kelcomm::Native::NativeFunctions& functions)
    : calls_(calls), objects_(objects) {
    functions.GetCurrentProcess = &Functions::GetCurrentProcess;
    functions.IsWow64Process = &Functions::IsWow64Process;
    functions.OpenProcessToken = &Functions::OpenProcessToken;
    functions.GetTokenInformation = &Functions::GetTokenInformation;
    functions.AllocateAndInitializeSid = &Functions::AllocateAndInitializeSid;
    functions.EqualSid = &Functions::EqualSid;
    functions.FreeSid = &Functions::FreeSid;
}

}  // namespace Kyr::Test
