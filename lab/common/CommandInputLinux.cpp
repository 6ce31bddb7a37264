#include <cerrno>
#include <csignal>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "lab/common/CommandInput.h"
#include "lab/common/UnreadLines.h"

namespace Kyr::Lab {

struct CCommandInput::State {
    int terminateFd;
    int wakeFd;
    CUnreadLines lines;
    bool endReported = false;
};

CCommandInput::CCommandInput() : state_(std::make_unique<State>()) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // A reader that goes away must not end the program before it has cleaned up.
    std::signal(SIGPIPE, SIG_IGN);
    // Nor must a limit of files: what cannot be written is a failed write.
    std::signal(SIGXFSZ, SIG_IGN);
    state_->terminateFd = signalfd(-1, &signals, SFD_CLOEXEC);
    state_->wakeFd = eventfd(0, EFD_CLOEXEC);
    if (state_->terminateFd < 0 || state_->wakeFd < 0) {
        throw std::runtime_error("cannot watch for termination");
    }
}

CCommandInput::~CCommandInput() {
    close(state_->terminateFd);
    close(state_->wakeFd);
}

bool CCommandInput::IsAskedToTerminate() const {
    pollfd asked{state_->terminateFd, POLLIN, 0};
    return poll(&asked, 1, 0) == 1;
}

CCommandInput::Event CCommandInput::Next() {
    CUnreadLines& lines = state_->lines;
    for (;;) {
        if (IsAskedToTerminate()) {
            signalfd_siginfo taken;  // taken out, so that it does not stay pending
            if (read(state_->terminateFd, &taken, sizeof taken) > 0) {
                return {Kind::kTerminate, {}};
            }
        }
        if (const auto line = lines.Take()) {
            return {Kind::kLine, *line};
        }
        if (lines.HasEnded() && !state_->endReported) {
            state_->endReported = true;
            return {Kind::kEndOfInput, {}};
        }
        pollfd waits[] = {{state_->terminateFd, POLLIN, 0},
                          {state_->wakeFd, POLLIN, 0},
                          {lines.HasEnded() ? -1 : STDIN_FILENO, POLLIN, 0}};
        if (poll(waits, 3, -1) < 0) {
            continue;  // interrupted by a signal that nobody here cares for
        }
        if (waits[1].revents != 0) {
            eventfd_t calls;
            eventfd_read(state_->wakeFd, &calls);
            return {Kind::kWoken, {}};
        }
        if (waits[2].revents != 0) {
            char block[4096];
            const ssize_t count = read(STDIN_FILENO, block, sizeof block);
            if (count > 0) {
                lines.Append(block, static_cast<std::size_t>(count));
            } else if (count == 0 || errno != EINTR) {
                lines.End();
            }
        }
    }
}

void CCommandInput::Wake() {
    eventfd_write(state_->wakeFd, 1);
}

bool OutputIsTerminal() {
    return isatty(STDOUT_FILENO) == 1;
}

bool ErrorOutputIsTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

}  // namespace Kyr::Lab
