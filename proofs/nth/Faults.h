// One fault at a time: the Nth allocation, native call or the like that the module makes fails,
// alone, with some behind it, or from then on.
//
// What the module does is told from what its surroundings do by the thread: one is the module's
// unless it, or the one that created it, is in a CSurroundings. So the host's and the product's own
// work never fails here.
//
// Threads: Arm and Disarm by one that is in a CSurroundings, all others by any. Nothing in here
// allocates but Arm.
#pragma once

#include <cstdint>
#include <string>

namespace Kyr::Proofs::Nth {

enum class Place {
    kAllocation,  // by operator new
    kMalloc,      // or calloc or realloc, where the module or its zlib calls it
    kThread,      // its creation
    kLock,        // its creation
    kNativeCall,
    kAreaCall,  // one of those that reach the broadcast area
    kExchange,  // a native call that takes a request to the product, after it has
    kStoreRead,
    kStoreWrite,
    kPublish,
    kLog,
};

constexpr std::uint64_t kFromThenOn = std::uint64_t{1} << 40;

struct Fault {
    Place place;
    std::uint64_t nth;   // from 1
    std::uint64_t uses;  // so many in a row, or kFromThenOn: until it is disarmed
    std::uint32_t kind;  // what fails how; each place has its own
};

/// "allocation".
std::string NameOf(Place place);
/// "allocation 17 to 19, kind 0".
std::string Describe(const Fault& fault);

void Arm(const Fault& fault);
void Disarm();
/// Whether the fault has come since it was armed.
bool HasStruck();
/// How often it has.
std::uint64_t Strokes();
/// Counts one more use of `place`, if it is the module's. True: it is to fail.
bool Strikes(Place place) noexcept;
/// The kind of the armed fault.
std::uint32_t StruckKind() noexcept;

/// The calling thread does the host's or the product's work as long as this lives, and so do the
/// threads that it creates meanwhile, for ever.
class CSurroundings {
  public:
    CSurroundings();
    ~CSurroundings();
    CSurroundings(const CSurroundings&) = delete;
    CSurroundings& operator=(const CSurroundings&) = delete;
};

/// The calling thread, which is in a CSurroundings, is in the module as long as this lives.
class CModuleCall {
  public:
    CModuleCall();
    ~CModuleCall();
    CModuleCall(const CModuleCall&) = delete;
    CModuleCall& operator=(const CModuleCall&) = delete;

  private:
    const int depth_;
};

/// Whether the calling thread is in a CSurroundings.
bool IsInSurroundings() noexcept;

/// Lets Strikes hear of allocations, of both kinds; threads and locks are heard of anyway.
void WatchAllocations();

}  // namespace Kyr::Proofs::Nth
