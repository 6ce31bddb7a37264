#include "proofs/kill/World.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/make_shared.hpp>

#include "lab/simproduct/records/RecordLists.h"
#include "proofs/kill/Host.h"
#include "proofs/kill/Journal.h"
#include "proofs/kill/Product.h"
#include "tests/support/time/HurryingClock.h"

namespace Kyr::Proofs::Kill {

namespace {

namespace Files = std::filesystem;
using Lab::CLine;
using Clock = std::chrono::steady_clock;

// Ten seconds become twenty milliseconds: in less, a busy machine would see the watch look around
// more often than anything else happen.
constexpr int kHurry = 500;
constexpr std::chrono::microseconds kPause(300);
constexpr std::chrono::microseconds kRealPause(5000);  // there are many that wait
// Looks of a pause each until nothing is expected any more, a minute and four at least: the longest
// way takes less than a second, in real time less than a minute. On a busy machine looks take
// longer, as everything does.
constexpr int kMostLooks = 200000;
constexpr int kMostRealLooks = 48000;
// Longer than the watch takes from one change to its request.
constexpr std::chrono::milliseconds kAnnouncing(60);
constexpr std::chrono::milliseconds kRealAnnouncing(15000);

/// What ends a play.
class CStuck : public std::runtime_error {
    using runtime_error::runtime_error;
};

}  // namespace

struct CWorld::Control {
    Fate fates[kRoles];
};

std::string TextOf(const Kill& kill) {
    return std::string(NameOf(kill.role)) + ':' +
           (kill.moment != 0 ? std::to_string(kill.moment)
                             : std::to_string(kill.time.count()) + "us");
}

class CWorld::CPlay {
  public:
    CPlay(const CWorld& world, const Scenario& scenario, const std::vector<Kill>& kills)
        : world_(world),
          scenario_(scenario),
          kills_(kills),
          records_(world.folder_ + "/records"),
          journalPath_(world.folder_ + "/journal"),
          clock_(world.realTime_ ? Base::SystemClock()
                                 : boost::make_shared<Test::CHurryingClock>(kHurry)),
          account_(scenario) {
        for (Fate& fate : world_.control_.fates) {
            fate.pause = world_.realTime_ ? kRealPause : kPause;
        }
        Files::remove(journalPath_);
        Files::remove(records_);
        journal_ = std::make_unique<CJournal>(journalPath_);
        MakeRecords();
        GiveWork();
    }

    ~CPlay() {
        for (const Role role : {Role::kHost, Role::kProduct}) {
            End(role);
        }
    }

    Played Run() {
        try {
            for (const Step step : scenario_.steps) {
                Take(step);
            }
            while (!Finish()) {
            }
            End(Role::kProduct);
            Read();
            account_.Close();
        } catch (const CStuck& problem) {
            played_.problems.push_back(problem.what());
        }
        return Sum();
    }

  private:
    struct Process {
        pid_t pid = 0;
        bool wanted = false;  // it is started again when it dies
        bool told = false;    // to stop
        bool shot = false;    // by us
        int lives = 0;
    };

    void MakeRecords() const {
        using namespace Lab::SimProduct;
        CRecordLists lists(records_);
        for (const RecordKind kind : kRecordKinds) {
            for (std::uint64_t i = 0; i < scenario_.records[static_cast<std::size_t>(kind)]; ++i) {
                lists.Append(
                    kind, [&](std::uint64_t number) { return RecordOf(scenario_, kind, number); });
            }
        }
    }

    void GiveWork() {
        for (const char* key : {"XDR_ENABLED", "XDR_HOST", "OV_REMEDIATION_ENABLED"}) {
            journal_->Append(CLine("set").With("key", key).With("value", "1"));
        }
        for (std::uint64_t i = 0; i < scenario_.outcomes; ++i) {
            const std::string id = account_.AddTask("block");
            std::string userData = id;
            userData.append(";").append(id).append(";").append(id);
            journal_->Append(CLine("did")
                                 .With("action", "block")
                                 .With("outcome", "done")
                                 .With("userdata", userData));
        }
        if (scenario_.policy) {
            journal_->Append(CLine("policy"));
        }
        for (const char* kind : scenario_.tasks) {
            GiveTask(kind);
        }
    }

    void GiveTask(const char* kind) {
        journal_->Append(
            CLine("task").With("kind", kind).With("identifier", account_.AddTask(kind)));
    }

    void Take(Step step) {
        switch (step) {
            case Step::kStartProduct:
                Start(Role::kProduct);
                break;
            case Step::kStartHost:
                Start(Role::kHost);
                break;
            case Step::kAwaitConnecting:
                Await("the host does not begin", [&] { return account_.IsConnecting(); });
                break;
            case Step::kAwaitWork:
                Await("nothing comes", [&] { return account_.HasWorked(); });
                break;
            case Step::kStopHost:
                Stop(Role::kHost);
                break;
            case Step::kStopProduct:
                Stop(Role::kProduct);
                break;
        }
    }

    /// Everything done, then one task more, then the host's end. False: somebody died meanwhile.
    bool Finish() {
        Await("it does not go on", [&] { return account_.IsComplete(); });
        const std::size_t deaths = played_.deaths.size();
        GiveTask("block");
        Await("it does not go on behind all that", [&] { return account_.IsComplete(); });
        Stop(Role::kHost);
        if (played_.deaths.size() == deaths) {
            return true;
        }
        Start(Role::kHost);
        return false;
    }

    void Start(Role role) {
        Process& process = Of(role);
        Fate& fate = FateOf(role);
        fate.moments = 0;
        fate.dieAt = 0;
        fate.stop = false;
        fate.call = nullptr;
        process.wanted = true;
        process.told = false;
        process.shot = false;
        ++process.lives;
        ++played_.lives;
        account_.NoteStart();
        if (next_ < kills_.size() && kills_[next_].role == role) {
            fate.dieAt = kills_[next_].moment;
        }
        process.pid = ::fork();
        if (process.pid == 0) {
            Live(role);
        }
        if (process.pid < 0) {
            throw std::runtime_error("no process");
        }
    }

    [[noreturn]] void Live(Role role) const {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        try {
            if (role == Role::kHost) {
                RunHost(FateOf(role), journalPath_, clock_);
            }
            RunProduct(FateOf(role), {journalPath_, records_, scenario_.advancedPort,
                                      world_.realTime_ ? kRealAnnouncing : kAnnouncing});
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s: %s\n", NameOf(role), error.what());
        }
        ::_exit(2);
    }

    void Stop(Role role) {
        Process& process = Of(role);
        process.wanted = false;
        process.told = true;
        account_.NoteStop(role == Role::kHost);
        FateOf(role).stop = true;
        Await("somebody does not end", [&] { return process.pid == 0; });
    }

    template <typename Condition>
    void Await(const char* otherwise, const Condition& condition) {
        for (int looks = world_.realTime_ ? kMostRealLooks : kMostLooks;; --looks) {
            // In this order: what has ended has written all that is read.
            Tend();
            if (condition()) {
                return;
            }
            if (looks == 0) {
                throw CStuck(otherwise);
            }
            Pause(FateOf(Role::kHost));
        }
    }

    void Tend() {
        for (const Role role : {Role::kHost, Role::kProduct}) {
            Process& process = Of(role);
            ShootInTime(role);
            int status = 0;
            if (process.pid == 0 || ::waitpid(process.pid, &status, WNOHANG) == 0) {
                continue;
            }
            process.pid = 0;
            Read();
            if (role == Role::kHost) {
                account_.CloseHostLife();
            }
            Bury(role, status);
            if (process.wanted) {
                Start(role);
            }
        }
        Read();
    }

    void ShootInTime(Role role) {
        Process& process = Of(role);
        if (next_ < kills_.size() && kills_[next_].role == role && kills_[next_].moment == 0 &&
            process.pid != 0 && !process.shot && Clock::now() - since_ > kills_[next_].time) {
            process.shot = true;
            ::kill(process.pid, SIGKILL);
        }
    }

    void Bury(Role role, int status) {
        const Process& process = Of(role);
        const Fate& fate = FateOf(role);
        const char* const call = fate.call;
        if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL &&
            (process.shot || call != nullptr)) {
            const std::string moment =
                call == nullptr ? "at a moment"
                                : std::string(fate.behind ? "behind " : "before ") + call;
            played_.deaths.push_back(TextOf(kills_[next_]) + ' ' + moment);
            journal_->Append(CLine("killed").With("who", NameOf(role)).With("moment", moment));
            account_.NoteDeath(role == Role::kHost);
            ++next_;
            since_ = Clock::now();
            ArmOther(role);
        } else if (!process.told || status != 0) {
            throw CStuck(std::string("the ") + NameOf(role) + " has ended by itself: status " +
                         std::to_string(status));
        } else if (process.lives == 1) {
            played_.moments[static_cast<std::size_t>(role)] = fate.moments;
        }
    }

    /// The next kill may be that of who lives on.
    void ArmOther(Role role) {
        if (next_ < kills_.size() && kills_[next_].role != role && kills_[next_].moment != 0) {
            Fate& fate = FateOf(kills_[next_].role);
            fate.dieAt = fate.moments + kills_[next_].moment;
        }
    }

    void Read() {
        for (const CLine& line : journal_->ReadNew()) {
            account_.Enter(line);
        }
    }

    /// At once, without being counted.
    void End(Role role) {
        Process& process = Of(role);
        if (process.pid == 0) {
            return;
        }
        if (process.lives == 1) {
            played_.moments[static_cast<std::size_t>(role)] = FateOf(role).moments;
        }
        ::kill(process.pid, SIGKILL);
        ::waitpid(process.pid, nullptr, 0);
        process.pid = 0;
    }

    Played Sum() {
        played_.problems.insert(played_.problems.end(), account_.Problems().begin(),
                                account_.Problems().end());
        for (std::size_t kind = 0; kind < CAccount::kKinds; ++kind) {
            const auto counts = account_.Ledger(kind).Counts();
            played_.stored += counts.stored;
            played_.twice += counts.twice;
            played_.inFlight[kind] = counts.inFlight;
        }
        played_.tasks = account_.Tasks();
        played_.lostOutcomes = account_.LostOutcomes();
        return played_;
    }

    Process& Of(Role role) { return processes_[static_cast<std::size_t>(role)]; }
    Fate& FateOf(Role role) const { return world_.control_.fates[static_cast<std::size_t>(role)]; }

    const CWorld& world_;
    const Scenario& scenario_;
    const std::vector<Kill>& kills_;
    const std::string records_;
    const std::string journalPath_;
    const boost::shared_ptr<Base::IClock> clock_;
    CAccount account_;
    std::unique_ptr<CJournal> journal_;
    Process processes_[kRoles];
    std::size_t next_ = 0;  // kill
    Clock::time_point since_ = Clock::now();
    Played played_;
};

CWorld::CWorld(const std::string& folder, bool realTime)
    : folder_(folder), realTime_(realTime), control_([]() -> Control& {
          void* const memory = ::mmap(nullptr, sizeof(Control), PROT_READ | PROT_WRITE,
                                      MAP_SHARED | MAP_ANONYMOUS, -1, 0);
          if (memory == MAP_FAILED) {
              throw std::bad_alloc();
          }
          return *new (memory) Control;
      }()) {
    ::setenv("KELCOMM_RUNTIME_DIR", (folder + "/run").c_str(), 1);
}

CWorld::~CWorld() {
    ::munmap(&control_, sizeof(Control));
}

Played CWorld::Play(const Scenario& scenario, const std::vector<Kill>& kills) {
    CPlay play(*this, scenario, kills);
    return play.Run();
}

std::vector<std::string> CWorld::Story() const {
    std::vector<std::string> story;
    for (const CLine& line : CJournal(folder_ + "/journal").ReadNew()) {
        story.push_back(line.Text());
    }
    return story;
}

}  // namespace Kyr::Proofs::Kill
