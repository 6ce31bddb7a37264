#include "connector/TaskRunner.h"

#include <exception>
#include <new>
#include <utility>

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "connector/DeliveryContext.h"
#include "connector/LocalizedException.h"
#include "connector/TaskExceptions.h"
#include "connector/reports/TaskEvent.h"
#include "host/Catalogue.h"

namespace Kyr::Connectors::Common {

namespace Outcome = Kyr::Common::Catalogue::Task;
using Kyr::Common::Module::CLocalizedException;
using Kyr::Common::Module::CSubscriber;

namespace {

// A message is given up with the second failure that counts.
constexpr int kCountedAttempts = 2;

std::uint64_t TextOf(const CLocalizedException& error) {
    return (std::uint64_t{error.GetCodeHigh()} << 32) | error.GetCodeLow();
}

constexpr char kForeignFailure[] = "Task processing failed with an unknown exception";
constexpr char kRetriesExhausted[] =
    "Message task was canceled because maximum retry count was reached";
constexpr char kProductNotAvailable[] =
    "Message task was canceled because product is not available";

}  // namespace

IProductConnection::~IProductConnection() = default;

CTaskRunner::CTaskRunner(std::string name, IProductConnection& connection, Services services,
                         std::uint64_t productId, boost::shared_ptr<Base::IClock> clock)
    : connection_(connection),
      services_(services),
      productId_(productId),
      clock_(std::move(clock)),
      queue_(boost::make_shared<CSubscriber>(std::move(name), clock_)) {}

CTaskRunner::~CTaskRunner() {
    Interrupt();
    Join();
}

// On the host's threads.

void CTaskRunner::AddTask(const TaskPointer& task) {
    tasks_.emplace(task->GetMessageType(), task);
}

void CTaskRunner::Start() {
    if (thread_) {
        return;
    }
    {
        const Base::CLock lock(tasksMutex_);
        connected_ = false;
    }
    thread_ = std::make_unique<boost::thread>([this] { ThreadBody(); });
}

void CTaskRunner::CancelTasks() {
    const Base::CLock lock(tasksMutex_);
    for (const auto& entry : tasks_) {
        entry.second->Cancel();
    }
}

bool CTaskRunner::InterruptUnlessConnected() {
    // Both under the lock: a thread that is about to be connected either finds the interruption
    // before it says so, or has said so.
    const Base::CLock lock(tasksMutex_);
    if (!connected_) {
        Interrupt();
    }
    return connected_;
}

bool CTaskRunner::Wake() {
    // Without a thread, after an earlier stop, there is nobody to wait for.
    return queue_->Wake() || !thread_;
}

void CTaskRunner::Interrupt() {
    if (thread_) {
        thread_->interrupt();
    }
}

void CTaskRunner::Join() {
    if (thread_) {
        // A host thread that is being interrupted must not leave with the thread alive.
        const boost::this_thread::disable_interruption joinIsNoWayOut;
        thread_->join();
        thread_.reset();
    }
}

// On the task thread.

void CTaskRunner::ThreadBody() {
    try {
        Run();
    } catch (...) {
        // Run lets nothing out. If it did, the host would go down with it.
    }
}

void CTaskRunner::Run() {
    GetLog(2) << "Connecting to product";
    try {
        ConnectFirst();
    } catch (const boost::thread_interrupted&) {
        GetLog(4) << "Product is not available, canceling tasks";
        CancelQueuedMessages();
        GuardedDisconnect();
        return;
    }
    try {
        ProcessMessages();
    } catch (const boost::thread_interrupted&) {
        GetLog(4) << "Task processing was interrupted";
    }
    GetLog(2) << "Disconnecting from product";
    GuardedDisconnect();
}

void CTaskRunner::ConnectFirst() {
    const auto connect = [this] {
        // The thread's place for contexts is made here, where a want of memory costs an attempt
        // and not a message.
        SetDeliveryContext({});
        return connection_.Connect();
    };
    while (!Guarded(connect)) {
        GuardedDisconnect();
        clock_->SleepFor(connection_.ReconnectDelay());
    }
    {
        const Base::CLock lock(tasksMutex_);
        boost::this_thread::interruption_point();
        connected_ = true;
    }
    GetLog(2) << "Connected to product, processing tasks";
}

void CTaskRunner::ProcessMessages() {
    for (;;) {
        CSubscriber::Message message;
        CSubscriber::Context context;
        if (!queue_->WaitForMessage(message, context)) {
            return;
        }
        SetDeliveryContext(context);
        // What fails here is the message itself.
        Guarded([&] {
            ProcessMessage(message);
            return true;
        });
    }
}

void CTaskRunner::ProcessMessage(const MessagePointer& message) {
    const Base::CLock lock(tasksMutex_);
    const auto range = tasks_.equal_range(message->GetMessageType());
    for (auto entry = range.first; entry != range.second; ++entry) {
        RunTask(*entry->second, message);
    }
}

// Returns when the task is done with the message, or has used up its attempts and that was told.
void CTaskRunner::RunTask(CMessageTask& task, const MessagePointer& message) {
    for (int failures = 0;;) {
        // Stays so when the failure could not be told for want of memory: nobody knows of it then,
        // and the message is tried as if it had not been.
        Attempt attempt = Attempt::kNotCounted;
        const bool done = Guarded([&] {
            if (failures < kCountedAttempts) {
                attempt = ProcessTask(task, message);
                return attempt == Attempt::kDone;
            }
            PublishCancelled(message, kRetriesExhausted);
            LogCancelled(message, kRetriesExhausted);
            return true;
        });
        if (done) {
            return;
        }
        ReconnectUntilConnected();
        if (attempt == Attempt::kFailed) {
            ++failures;
        }
    }
}

// Throws std::bad_alloc when the task has failed and that could not be told.
CTaskRunner::Attempt CTaskRunner::ProcessTask(CMessageTask& task, const MessagePointer& message) {
    try {
        if (message->GetMessageType() == task.GetMessageType()) {
            task.Execute(message);
        }
        return Attempt::kDone;
    } catch (const CLocalizedException& error) {
        PublishTaskEvent(message,
                         {Outcome::kFailed, TextOf(error), Outcome::kErrorSeverity, error.what()});
        GetLog(4) << error.what();
        return Attempt::kDone;
    } catch (const CRetryException& error) {
        PublishTaskEvent(message, {Outcome::kNotFailed, Outcome::kFailedText,
                                   Outcome::kWarningSeverity, error.what()});
        GetLog(4) << error.what();
        return error.IsRestartNeeded() ? Attempt::kNotCounted : Attempt::kFailed;
    } catch (const CRestartNeededException& error) {
        GetLog(2) << error.what();
        return Attempt::kNotCounted;
    } catch (const std::exception& error) {
        PublishTaskEvent(message, {Outcome::kFailed, Outcome::kFailedText, Outcome::kErrorSeverity,
                                   error.what()});
        GetLog(4) << error.what();
        // Of a message without identifiers nobody would ever ask again: a policy, for example.
        const bool wantOfMemory = dynamic_cast<const std::bad_alloc*>(&error) != nullptr;
        return wantOfMemory && !ReportableTask(message) ? Attempt::kNotCounted : Attempt::kDone;
    } catch (const boost::thread_interrupted&) {
        throw;
    } catch (...) {
        // It has no text that an event could carry; the server is told if it fails again.
        GetLog(4) << kForeignFailure;
        return Attempt::kFailed;
    }
}

void CTaskRunner::ReconnectUntilConnected() {
    connected_ = false;
    {
        // Free meanwhile, so that Stop finds out that nobody is connected.
        const Base::CUnlock whileWaiting(tasksMutex_);
        do {
            clock_->SleepFor(connection_.ReconnectDelay());
            GetLog(2) << "Reconnecting to product";
        } while (!Guarded([this] { return connection_.Reconnect(); }));
    }
    boost::this_thread::interruption_point();
    connected_ = true;
}

void CTaskRunner::CancelQueuedMessages() {
    CSubscriber::Message message;
    CSubscriber::Context context;
    while (queue_->TryTakeMessage(message, context)) {
        // A want of memory, too, costs the event only: the thread ends, there is no later for it.
        Guarded([&] {
            PublishCancelled(message, kProductNotAvailable);
            return true;
        });
        LogCancelled(message, kProductNotAvailable);
    }
}

void CTaskRunner::PublishCancelled(const MessagePointer& message, const char* reason) {
    PublishTaskEvent(message,
                     {Outcome::kFailed, Outcome::kCancelledText, Outcome::kErrorSeverity, reason});
}

void CTaskRunner::LogCancelled(const MessagePointer& message, const char* reason) {
    // A message that cannot tell its name is cancelled all the same.
    Guarded([&] {
        GetLog(4) << reason << ", message was: " << message->GetName();
        return true;
    });
}

// The event is a courtesy to the server: a message whose identifiers are no UUIDs, or a bus that
// fails, costs the event and a line. A want of memory passes, and the event can be made later.
void CTaskRunner::PublishTaskEvent(const MessagePointer& message, const TaskOutcome& outcome) {
    bool enoughMemory = true;
    Guarded([&] {
        try {
            if (const auto task = ReportableTask(message)) {
                services_.publisher.Publish(MakeTaskEvent(
                    *task, outcome, {services_.instance.GetInstanceUUID(), clock_, productId_}));
            }
        } catch (const std::bad_alloc&) {
            enoughMemory = false;
        }
        return true;
    });
    if (!enoughMemory) {
        throw std::bad_alloc();
    }
}

// Interruption, which ends the thread, passes. Whatever else `step` throws costs a line.
template <typename Step>
bool CTaskRunner::Guarded(Step step) {
    try {
        return step();
    } catch (const boost::thread_interrupted&) {
        throw;
    } catch (const std::exception& error) {
        GetLog(4) << error.what();
    } catch (...) {
        GetLog(4) << kForeignFailure;
    }
    return false;
}

void CTaskRunner::GuardedDisconnect() {
    Guarded([this] {
        connection_.Disconnect();
        return true;
    });
}

}  // namespace Kyr::Connectors::Common
