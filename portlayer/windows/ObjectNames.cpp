#include "portlayer/windows/ObjectNames.h"

#include <algorithm>
#include <cwchar>
#include <system_error>

#include "portlayer/Diagnostics.h"
#include "portlayer/windows/SystemHeader.h"

namespace Kyr::PortLayer {

std::string PlaceOfNames() {
    char text[1024];
    const DWORD length = ::GetEnvironmentVariableA("KELCOMM_RUNTIME_DIR", text, sizeof text);
    return length == 0 || length >= sizeof text ? "the system" : std::string(text, length);
}

std::string LastFailure() {
    return std::system_category().message(static_cast<int>(::GetLastError()));
}

namespace Detail {

namespace {

using namespace NtApi;

// Longer names could not become those of pipes, which end at 256 characters. Our choice.
constexpr std::size_t kLongestName = 128;

wchar_t Lower(wchar_t letter) {
    return letter >= L'A' && letter <= L'Z' ? static_cast<wchar_t>(letter - L'A' + L'a') : letter;
}

/// What sets the names of a name space apart: empty without one, else "<hash>-".
std::wstring NameSpace() {
    wchar_t text[1024];
    const DWORD length = ::GetEnvironmentVariableW(L"KELCOMM_RUNTIME_DIR", text, 1024);
    if (length == 0 || length >= 1024) {
        return {};
    }
    // FNV-1a. Name spaces keep friends apart, they keep nobody out.
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const wchar_t letter : std::wstring(text, length)) {
        hash = (hash ^ Lower(letter)) * 0x100000001B3;
    }
    wchar_t digits[20];
    std::swprintf(digits, 20, L"%08x%08x-", static_cast<unsigned>(hash >> 32),
                  static_cast<unsigned>(hash));
    return digits;
}

}  // namespace

NtStatus PortNameOf(const UnicodeString& name, std::wstring& port) {
    port.assign(reinterpret_cast<const wchar_t*>(name.Buffer), name.Length / sizeof(wchar_t));
    // Directories of the system's name space: a pipe has none.
    port.erase(0, port.rfind(L'\\') + 1);
    const bool printable = std::all_of(port.begin(), port.end(), [](wchar_t letter) {
        return letter > L' ' && letter < 0x7F && letter != L'/';
    });
    if (port.empty() || port.size() > kLongestName || !printable) {
        return kStatusObjectNameInvalid;
    }
    std::transform(port.begin(), port.end(), port.begin(), Lower);
    port.insert(0, NameSpace());
    return kStatusSuccess;
}

std::wstring PipeName(const std::wstring& port) {
    return L"\\\\.\\pipe\\kelcomm-" + port;
}

std::wstring PipeClaimName(const std::wstring& port) {
    return L"Local\\kelcomm-port-" + port;
}

std::wstring ObjectNameOf(const char16_t* name) {
    std::wstring object = reinterpret_cast<const wchar_t*>(name);
    // Behind "Global\" or "Local\", which the system reads.
    object.insert(object.rfind(L'\\') + 1, NameSpace());
    return object;
}

std::wstring SectionName(std::uint64_t number) {
    return L"Local\\kelcomm-view-" + std::to_wstring(number);
}

}  // namespace Detail

}  // namespace Kyr::PortLayer
