#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <csignal>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <windows.h>

#include "lab/common/CommandInput.h"
#include "lab/common/UnreadLines.h"

namespace Kyr::Lab {

namespace {

/// Set by a request to end. Of the process, as signals are; kept to its end, since a handler may
/// run at any time.
HANDLE terminateEvent = nullptr;

void OnTerminate(int signal) {
    std::signal(signal, OnTerminate);  // the runtime takes a handler out before it calls it
    SetEvent(terminateEvent);
}

/// What the thread that reads hands to the one that asks. Both own it: a read from a pipe or a
/// console cannot be waited for together with an event, nor surely be cancelled, so the reader may
/// outlive the input.
struct Reading {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    const HANDLE changed = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::mutex mutex;  // guards what follows
    CUnreadLines lines;

    ~Reading() { CloseHandle(changed); }

    void Run() {
        char block[4096];
        DWORD count = 0;
        while (ReadFile(input, block, sizeof block, &count, nullptr) && count != 0) {
            const std::lock_guard<std::mutex> lock(mutex);
            lines.Append(block, count);
            SetEvent(changed);
        }
        const std::lock_guard<std::mutex> lock(mutex);
        lines.End();
        SetEvent(changed);
    }
};

}  // namespace

struct CCommandInput::State {
    std::shared_ptr<Reading> reading = std::make_shared<Reading>();
    const HANDLE woken = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    bool endReported = false;

    ~State() { CloseHandle(woken); }
};

CCommandInput::CCommandInput() : state_(std::make_unique<State>()) {
    if (terminateEvent == nullptr) {
        terminateEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    }
    if (terminateEvent == nullptr || state_->reading->changed == nullptr ||
        state_->woken == nullptr) {
        throw std::runtime_error("cannot watch for termination");
    }
    for (const int signal : {SIGINT, SIGTERM, SIGBREAK}) {  // the last: Ctrl+Break, a closed window
        std::signal(signal, OnTerminate);
    }
    std::thread([reading = state_->reading] { reading->Run(); }).detach();
}

CCommandInput::~CCommandInput() = default;

bool CCommandInput::IsAskedToTerminate() const {
    if (WaitForSingleObject(terminateEvent, 0) != WAIT_OBJECT_0) {
        return false;
    }
    SetEvent(terminateEvent);  // the wait took it out
    return true;
}

CCommandInput::Event CCommandInput::Next() {
    Reading& reading = *state_->reading;
    while (true) {
        if (WaitForSingleObject(terminateEvent, 0) == WAIT_OBJECT_0) {
            return {Kind::kTerminate, {}};
        }
        {
            const std::lock_guard<std::mutex> lock(reading.mutex);
            if (const auto line = reading.lines.Take()) {
                return {Kind::kLine, *line};
            }
            if (reading.lines.HasEnded() && !state_->endReported) {
                state_->endReported = true;
                return {Kind::kEndOfInput, {}};
            }
        }
        const HANDLE waits[] = {terminateEvent, state_->woken, reading.changed};
        switch (WaitForMultipleObjects(3, waits, FALSE, INFINITE)) {
            case WAIT_OBJECT_0:
                return {Kind::kTerminate, {}};
            case WAIT_OBJECT_0 + 1:
                return {Kind::kWoken, {}};
            default:
                break;
        }
    }
}

void CCommandInput::Wake() {
    SetEvent(state_->woken);
}

namespace {

bool IsConsole(DWORD stream) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

}  // namespace

bool OutputIsTerminal() {
    return IsConsole(STD_OUTPUT_HANDLE);
}

bool ErrorOutputIsTerminal() {
    return IsConsole(STD_ERROR_HANDLE);
}

}  // namespace Kyr::Lab
