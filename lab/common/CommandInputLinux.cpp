#include <cerrno>
#include <csignal>
#include <poll.h>
#include <stdexcept>
#include <sys/signalfd.h>
#include <unistd.h>

#include "lab/common/CommandInput.h"

namespace Kyr::Lab {

struct CCommandInput::CState {
    int terminateFd;
    std::string unread;
    bool inputEnded = false;
    bool endReported = false;

    /// Cuts the first line off what has been read; false when it is not whole yet.
    bool TakeLine(std::string& line) {
        const std::size_t end = unread.find('\n');
        if (end == std::string::npos) {
            return false;
        }
        line = unread.substr(0, end);
        unread.erase(0, end + 1);
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        return true;
    }
};

CCommandInput::CCommandInput() : state_(std::make_unique<CState>()) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // A reader that goes away must not end the program before it has cleaned up.
    std::signal(SIGPIPE, SIG_IGN);
    state_->terminateFd = signalfd(-1, &signals, SFD_CLOEXEC);
    if (state_->terminateFd < 0) {
        throw std::runtime_error("cannot watch for termination");
    }
}

CCommandInput::~CCommandInput() {
    close(state_->terminateFd);
}

CCommandInput::CEvent CCommandInput::Next() {
    std::string line;
    while (!state_->TakeLine(line)) {
        if (state_->inputEnded && !state_->endReported) {
            state_->endReported = true;
            return {Kind::EndOfInput, {}};
        }
        pollfd waits[] = {{state_->terminateFd, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
        if (poll(waits, state_->inputEnded ? 1 : 2, -1) < 0) {
            continue;  // interrupted by a signal that nobody here cares for
        }
        if (waits[0].revents != 0) {
            signalfd_siginfo taken;  // taken out, so that it does not stay pending
            return read(state_->terminateFd, &taken, sizeof taken) > 0 ? CEvent{Kind::Terminate, {}}
                                                                       : Next();
        }
        char block[4096];
        const ssize_t count = read(STDIN_FILENO, block, sizeof block);
        if (count > 0) {
            state_->unread.append(block, static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            state_->inputEnded = true;
            if (!state_->unread.empty()) {
                state_->unread += '\n';  // the last line may lack its end
            }
        }
    }
    return {Kind::Line, line};
}

bool OutputIsTerminal() {
    return isatty(STDOUT_FILENO) == 1;
}

}  // namespace Kyr::Lab
