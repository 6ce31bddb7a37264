#include "proofs/nth/NativeFaults.h"

#include <iterator>

#include "ntapi/Status.h"
#include "proofs/nth/Faults.h"

namespace Kyr::Proofs::Nth {

namespace {

using Connectors::Common::Kelcomm::Native::NativeFunctions;

/// How a function says that it has failed.
enum class Says { kStatus, kNothing, kWait };
/// What is given back stays given back, whatever the function says. Of an exchange nobody knows
/// whether it has failed before or behind the product's work.
enum class Does { kNothing, kItsWork, kEither };

template <Says says, typename Result>
Result Failure() {
    if constexpr (says == Says::kStatus) {
        return Statuses()[StruckKind() % Statuses().size()];
    } else if constexpr (says == Says::kWait) {
        constexpr Result kWaits[] = {NtApi::kWaitFailed, NtApi::kWaitAbandoned,
                                     NtApi::kWaitTimeout};
        return kWaits[StruckKind() % std::size(kWaits)];
    } else {
        return Result{};
    }
}

/// Some functions reach the area and nothing else.
enum class Reaches { kThePorts, kTheArea };

template <auto Member, Says says, Does does, Reaches reaches>
struct Faulty;

template <typename Result, typename... Arguments,
          Result (KYR_NTAPI* NativeFunctions::*Member)(Arguments...), Says says, Does does,
          Reaches reaches>
struct Faulty<Member, says, does, reaches> {
    static Result KYR_NTAPI Call(Arguments... arguments) {
        const auto system = Connectors::Common::Kelcomm::Native::SystemNativeFunctions().*Member;
        const bool before = Strikes(Place::kNativeCall) ||
                            (reaches == Reaches::kTheArea && Strikes(Place::kAreaCall));
        const bool behind = does == Does::kEither && Strikes(Place::kExchange);
        const CSurroundings inTheSystem;
        if (!before && !behind) {
            return system(arguments...);
        }
        if (behind || does == Does::kItsWork) {
            system(arguments...);
        }
        return Failure<says, Result>();
    }
};

template <auto Member, Says says, Does does = Does::kNothing, Reaches reaches = Reaches::kThePorts>
void Replace(NativeFunctions& functions) {
    functions.*Member = &Faulty<Member, says, does, reaches>::Call;
}

template <auto Member, Says says, Does does = Does::kNothing>
void ReplaceOfArea(NativeFunctions& functions) {
    Replace<Member, says, does, Reaches::kTheArea>(functions);
}

NativeFunctions MakeFaultyFunctions() {
    using N = NativeFunctions;
    NativeFunctions functions = Connectors::Common::Kelcomm::Native::SystemNativeFunctions();
    Replace<&N::NtConnectPort, Says::kStatus>(functions);
    Replace<&N::NtRequestPort, Says::kStatus, Does::kEither>(functions);
    Replace<&N::NtRequestWaitReplyPort, Says::kStatus, Does::kEither>(functions);
    Replace<&N::NtAlpcConnectPort, Says::kStatus>(functions);
    Replace<&N::NtAlpcDisconnectPort, Says::kStatus, Does::kItsWork>(functions);
    Replace<&N::NtAlpcSendWaitReceivePort, Says::kStatus, Does::kEither>(functions);
    Replace<&N::NtAlpcCreatePortSection, Says::kStatus>(functions);
    Replace<&N::NtAlpcDeletePortSection, Says::kStatus, Does::kItsWork>(functions);
    Replace<&N::NtAlpcCreateSectionView, Says::kStatus>(functions);
    Replace<&N::NtAlpcDeleteSectionView, Says::kStatus, Does::kItsWork>(functions);
    Replace<&N::AlpcInitializeMessageAttribute, Says::kStatus>(functions);
    Replace<&N::IsWow64Process, Says::kNothing>(functions);
    Replace<&N::CloseHandle, Says::kNothing, Does::kItsWork>(functions);
    ReplaceOfArea<&N::WaitForSingleObject, Says::kWait>(functions);
    ReplaceOfArea<&N::OpenMutexW, Says::kNothing>(functions);
    ReplaceOfArea<&N::ReleaseMutex, Says::kNothing, Does::kItsWork>(functions);
    ReplaceOfArea<&N::OpenFileMappingW, Says::kNothing>(functions);
    ReplaceOfArea<&N::MapViewOfFile, Says::kNothing>(functions);
    ReplaceOfArea<&N::UnmapViewOfFile, Says::kNothing, Does::kItsWork>(functions);
    ReplaceOfArea<&N::VirtualQuery, Says::kNothing>(functions);
    Replace<&N::OpenProcessToken, Says::kNothing>(functions);
    return functions;
}

}  // namespace

const std::vector<NtApi::NtStatus>& Statuses() {
    static const std::vector<NtApi::NtStatus> statuses = [] {
        constexpr std::uint32_t kNumbers[] = {
            0xC0000001, 0xC0000002, 0xC0000003, 0xC0000004, 0xC0000005, 0xC0000008, 0xC000000B,
            0xC000000D, 0xC000000F, 0xC0000010, 0xC0000017, 0xC0000018, 0xC0000019, 0xC000001A,
            0xC0000022, 0xC0000023, 0xC0000024, 0xC000002B, 0xC000002D, 0xC000002E, 0xC000002F,
            0xC0000030, 0xC0000031, 0xC0000033, 0xC0000034, 0xC0000035, 0xC0000037, 0xC0000039,
            0xC000003A, 0xC000003B, 0xC0000040, 0xC0000041, 0xC0000042, 0xC0000044, 0xC0000046,
            0xC0000054, 0xC0000061, 0xC000007F, 0xC000009A, 0xC00000A3, 0xC00000BB, 0xC00000E5,
            0xC00000EF, 0xC00000F0, 0xC00000F1, 0xC00000F2, 0xC0000120, 0xC000012D, 0xC000021F,
            0xC0000253, 0xC0000354, 0xC0000700, 0xC0000701, 0xC0000702, 0xC0000703, 0xC0000704,
            0xC0000705, 0x80000005, 0x8000001A, 0x80000022, 0xDEADBEEF, 0x00000101, 0x000000C0,
            0x00000080, 0x00000102};
        std::vector<NtApi::NtStatus> all;
        for (const std::uint32_t number : kNumbers) {
            all.push_back(static_cast<NtApi::NtStatus>(number));
        }
        return all;
    }();
    return statuses;
}

const NativeFunctions& FaultyFunctions(Ports ports) {
    static const NativeFunctions all = MakeFaultyFunctions();
    static const NativeFunctions older = [] {
        NativeFunctions functions = all;
        functions.IsWow64Process =
            Connectors::Common::Kelcomm::Native::SystemNativeFunctions().IsWow64Process;
        return functions;
    }();
    return ports == Ports::kBoth ? all : older;
}

}  // namespace Kyr::Proofs::Nth
