#include "lab/runner/Actor.h"

#include <condition_variable>
#include <filesystem>
#include <istream>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include "lab/runner/ChildProcess.h"

namespace Kyr::Lab::Runner {

namespace {

namespace process = boost::process;

TimedLine Parse(const std::string& text) {
    try {
        return ParseLine(text);
    } catch (const std::invalid_argument&) {
        return {"", CLine("text").With("text", text)};
    }
}

}  // namespace

struct CActor::State {
    std::string name;
    Listener listener;
    process::opstream input;
    process::ipstream output;
    process::child child;
    std::thread reader;

    mutable std::mutex mutex;  // guards what stands below
    mutable std::condition_variable changed;
    std::vector<TimedLine> events;
    bool ended = false;   // the output has been read to its end
    std::string failure;  // of the listener, its first

    /// REQUIRES: the mutex is held.
    void RethrowFailure() const {
        if (!failure.empty()) {
            throw std::runtime_error(failure);
        }
    }

    /// What the listener makes of it; empty when it takes it.
    std::string Tell(const TimedLine& event) const {
        try {
            listener(name, event);
            return "";
        } catch (const std::exception& e) {
            return "cannot make use of what the " + name + " tells, " + e.what() + ": " +
                   event.line.Text();
        }
    }

    void ReadEvents() {
        std::string text;
        while (std::getline(output, text)) {
            if (!text.empty() && text.back() == '\r') {
                text.pop_back();
            }
            TimedLine event = Parse(text);
            std::string refused = Tell(event);
            const std::lock_guard<std::mutex> lock(mutex);
            events.push_back(std::move(event));
            if (failure.empty()) {
                failure = std::move(refused);
            }
            changed.notify_all();
        }
        const std::lock_guard<std::mutex> lock(mutex);
        ended = true;
        changed.notify_all();
    }
};

CActor::CActor(const std::string& name, const std::string& program,
               const std::vector<std::string>& arguments, const Environment& environment,
               Listener listener)
    : state_(std::make_unique<State>()) {
    state_->name = name;
    state_->listener = std::move(listener);
    // With the other handles, a child loses the one to report a failed start through.
    if (!std::filesystem::is_regular_file(program)) {
        throw std::runtime_error("cannot start " + program + ": there is no such file");
    }
    process::environment complete = boost::this_process::environment();
    for (const auto& [key, value] : environment) {
        complete[key] = value;
    }
    std::error_code error;
    state_->child = StartChild(program, arguments, complete, state_->input, state_->output, error);
    if (error) {
        throw std::runtime_error("cannot start " + program + ": " + error.message());
    }
    state_->reader = std::thread([this] { state_->ReadEvents(); });
}

CActor::~CActor() {
    Kill();
    state_->input.pipe().close();
    state_->reader.join();
}

void CActor::Send(const std::string& line) {
    state_->input << line << std::endl;
}

std::optional<std::size_t> CActor::Find(std::size_t from, const Predicate& wanted,
                                        std::chrono::milliseconds patience) const {
    std::unique_lock<std::mutex> lock(state_->mutex);
    std::size_t at = from;
    const auto found = [&] {
        while (at < state_->events.size() && !wanted(at, state_->events[at])) {
            ++at;
        }
        return at < state_->events.size();
    };
    state_->changed.wait_for(lock, patience,
                             [&] { return found() || state_->ended || !state_->failure.empty(); });
    state_->RethrowFailure();
    return found() ? std::make_optional(at) : std::nullopt;
}

CActor::Predicate CActor::OfKind(std::string kind) {
    return [kind = std::move(kind)](std::size_t, const TimedLine& event) {
        return event.line.Kind() == kind;
    };
}

TimedLine CActor::EventAt(std::size_t index) const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->events.at(index);
}

std::vector<TimedLine> CActor::Events() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->events;
}

void CActor::Kill() {
    std::error_code ignored;  // it may have ended already
    state_->child.terminate(ignored);
}

std::string CActor::EndText() const {
    return Runner::EndText(state_->child);
}

std::optional<int> CActor::AwaitEnd(std::chrono::milliseconds patience) {
    std::unique_lock<std::mutex> lock(state_->mutex);
    if (!state_->changed.wait_for(lock, patience, [&] { return state_->ended; })) {
        return std::nullopt;
    }
    state_->RethrowFailure();
    lock.unlock();
    std::error_code ignored;
    state_->child.wait(ignored);
    return state_->child.exit_code();
}

}  // namespace Kyr::Lab::Runner
