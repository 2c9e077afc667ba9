// The interface container: every API interface a provider publishes, keyed by interface
// identifier, with a checksum over all of them.
//
// Requests are routed through Find, services are registered with Add, and checksum() tells a
// client or a peer cheaply whether the published API has changed (CompareApis in
// olma/provider/api_diff.h then tells what):
//
//   auto container = Olma::Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>::GetInstance();
//   Olma::MessageList messages;
//   container->Add(tasksApi, messages);          // false + "olma.provider.interface.already.registered"
//   Olma::Provider::AsyncApiInterface::PtrConstType api;
//   if (!container->Find(methodId->interfaceIdentifier(), api, messages)) {
//     // "olma.provider.interface.unknown"
//   }
//
// The container is a copy-on-write snapshot: the current interface map is published behind a
// shared pointer and never changed once published. Add copies the map, inserts, and publishes
// the copy with its new checksum, starting again when another Add published first; it then
// waits until no Find can still be reading the map it replaced (SnapshotReaders). Find takes
// no lock and no reference to the map and looks the name up in a hash table built with each
// published map (InterfaceIndex), so lookups on several cores do not contend; ForEach
// holds its snapshot by a reference taken under a short lock, since its callback may run long
// and may Add. A container only grows: there is no removal.
//
// The checksum is the CRC-32 (eight lower-case hex digits) of, for each interface in name
// order: its name; then for each method in name order: the method's name, the canonical text
// (RawDefinitionAdapter, olma/data/introspection.h) of its input definition, of its output
// definition and of each declared error definition in declaration order. The canonical texts
// are written with kChecksumSeparator, a blank, between their pieces; nothing stands between
// the names and texts themselves. A client that recomputes the checksum from introspection
// data must do the same. An empty container has the checksum "00000000".
//
// Thread safety: AsyncApiInterfaceConcurrentContainer<std::mutex> may be used from any number
// of threads at once, including a ForEach callback that calls Add (it sees the snapshot it
// started with). AsyncApiInterfaceConcurrentContainer<DummyMutex> locks nothing and is for
// one thread only.
#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/invocation/identifiers.h"
#include "olma/provider/async_api_interface.h"
#include "olma/provider/snapshot_readers.h"

namespace Olma {
namespace Provider {

// Interfaces by identifier, ordered by the identifiers' names (an empty pointer first).
using InterfaceMap =
    std::map<Core::InterfaceIdentifier::PtrConstType, AsyncApiInterface::PtrConstType, Core::PointeeLess>;
using InterfaceList = std::list<AsyncApiInterface::PtrConstType>;

// The separator the checksum passes to the canonical text of each definition.
inline constexpr char kChecksumSeparator = ' ';

class OLMA_API AsyncApiInterfaceContainer {
 public:
  using PtrType = std::shared_ptr<AsyncApiInterfaceContainer>;
  using PtrConstType = std::shared_ptr<const AsyncApiInterfaceContainer>;
  using Function = std::function<void(const AsyncApiInterface::PtrConstType&)>;

  AsyncApiInterfaceContainer() = default;
  AsyncApiInterfaceContainer(const AsyncApiInterfaceContainer&) = delete;
  AsyncApiInterfaceContainer& operator=(const AsyncApiInterfaceContainer&) = delete;

  // Registers `interface`. Returns true and publishes a new snapshot with a new checksum; or,
  // when an interface with an equal identifier is registered already, appends
  // "olma.provider.interface.already.registered" ("Interface already registered: {1}", the
  // interface name) to the end of `messages`, returns false and changes nothing. An empty
  // `interface` is a programming error: std::invalid_argument.
  virtual bool Add(AsyncApiInterface::PtrConstType interface, MessageList& messages) = 0;

  // Looks an interface up by identifier. Found: sets `interface`, returns true. Not found:
  // appends "olma.provider.interface.unknown" ("Unknown interface: {1}", the identifier's
  // name, empty for an empty pointer) to the end of `messages`, returns false and leaves
  // `interface` unchanged.
  virtual bool Find(Core::InterfaceIdentifier::PtrConstType interfaceIdentifier,
                    AsyncApiInterface::PtrConstType& interface, MessageList& messages) const = 0;

  // Calls `function` for every interface of the current snapshot, in identifier order,
  // holding no lock: interfaces added meanwhile (also by `function`) are not seen.
  virtual void ForEach(const Function& function) const = 0;

  // The checksum of the current snapshot (see the top of this file).
  virtual std::string checksum() const = 0;

  virtual ~AsyncApiInterfaceContainer();
};

// A mutex that does nothing, for a container used from one thread.
struct DummyMutex {
  void lock() noexcept {}
  void unlock() noexcept {}
};

// Holds a lock for a scope.
template <class Mutex>
using LockGuard = std::lock_guard<Mutex>;

struct OLMA_API ProviderHelper {
  // The map entry of `interface`: (its id(), it).
  static InterfaceMap::value_type MakeInterfacePair(const AsyncApiInterface::PtrConstType& interface);

  // Inserts every interface of the list in list order; an identifier present already keeps
  // its first interface, silently. Empty pointers are skipped.
  static void BuildMap(const InterfaceList& interfaces, InterfaceMap& map);

  // Inserts `interface`; reports a duplicate as Add does.
  static bool AddInterface(InterfaceMap& map, const AsyncApiInterface::PtrConstType& interface,
                           MessageList& messages);

  // The checksum of the interfaces of `map` (see the top of this file).
  static std::string Checksum(const InterfaceMap& map);

  // Appends the "olma.provider.interface.unknown" message for `interfaceIdentifier`.
  static void ReportUnknown(const Core::InterfaceIdentifier::PtrConstType& interfaceIdentifier,
                            MessageList& messages);
};

// The lookup table of one published map, for Find: the map's entries by identifier name in a
// hash table, a probe where the map would take a walk through its tree. Built once per
// published map (registration is rare); it points into the map, which must outlive it.
class OLMA_API InterfaceIndex {
 public:
  explicit InterfaceIndex(const InterfaceMap& map);

  // The interface registered under `identifier`'s name, or null.
  const AsyncApiInterface::PtrConstType* Find(const Core::InterfaceIdentifier* identifier) const noexcept;

 private:
  std::unordered_map<std::string_view, const AsyncApiInterface::PtrConstType*> byName_;
  const AsyncApiInterface::PtrConstType* unnamed_ = nullptr;  // under an empty identifier pointer
};

template <class Mutex>
class AsyncApiInterfaceConcurrentContainer final : public AsyncApiInterfaceContainer {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  using PtrType = std::shared_ptr<AsyncApiInterfaceConcurrentContainer>;

  // An empty container.
  static PtrType GetInstance() {
    return std::make_shared<AsyncApiInterfaceConcurrentContainer>(PrivateTag());
  }

  // A container holding `interfaces`; of several with one identifier the first is kept,
  // without a message.
  static PtrType GetInstance(const InterfaceList& interfaces) {
    auto map = std::make_shared<InterfaceMap>();
    ProviderHelper::BuildMap(interfaces, *map);
    return std::make_shared<AsyncApiInterfaceConcurrentContainer>(PrivateTag(), std::move(map));
  }

  bool Add(AsyncApiInterface::PtrConstType interface, MessageList& messages) override {
    for (;;) {
      const std::shared_ptr<const InterfaceMap> snapshot = Snapshot();
      auto map = std::make_shared<InterfaceMap>(*snapshot);
      if (!ProviderHelper::AddInterface(*map, interface, messages)) return false;
      auto index = std::make_unique<const InterfaceIndex>(*map);
      // Released after the lock.
      std::shared_ptr<const InterfaceMap> replaced;
      std::unique_ptr<const InterfaceIndex> replacedIndex;
      LockGuard<Mutex> guard(mutex_);
      if (state_.interfaces != snapshot) continue;  // another Add published first: redo on its map
      std::string checksum = ProviderHelper::Checksum(*map);
      state_.checksum.swap(checksum);
      replaced = std::exchange(state_.interfaces, std::move(map));
      replacedIndex = std::exchange(state_.index, std::move(index));
      current_.store(state_.index.get(), std::memory_order_seq_cst);
      readers_.WaitForReaders();
      return true;
    }
  }

  bool Find(Core::InterfaceIdentifier::PtrConstType interfaceIdentifier,
            AsyncApiInterface::PtrConstType& interface, MessageList& messages) const override {
    AsyncApiInterface::PtrConstType found;
    {
      const SnapshotReaders::Section reading = readers_.Enter();
      if (const auto* entry = current_.load(std::memory_order_seq_cst)->Find(interfaceIdentifier.get())) {
        found = *entry;
      }
    }
    // Assigned outside the read section: dropping what `interface` held may run user code.
    if (found) {
      interface = std::move(found);
      return true;
    }
    ProviderHelper::ReportUnknown(interfaceIdentifier, messages);
    return false;
  }

  void ForEach(const Function& function) const override {
    const std::shared_ptr<const InterfaceMap> snapshot = Snapshot();
    for (const auto& entry : *snapshot) function(entry.second);
  }

  std::string checksum() const override {
    LockGuard<Mutex> guard(mutex_);
    return state_.checksum;
  }

  // Only the factories can name the tag.
  explicit AsyncApiInterfaceConcurrentContainer(
      PrivateTag, std::shared_ptr<const InterfaceMap> interfaces = std::make_shared<const InterfaceMap>())
      : state_{ProviderHelper::Checksum(*interfaces), std::make_unique<const InterfaceIndex>(*interfaces),
               std::move(interfaces)},
        current_(state_.index.get()) {}

 private:
  // A published snapshot: the map, its checksum and its index. None is changed again.
  struct State {
    std::string checksum;
    std::unique_ptr<const InterfaceIndex> index;
    std::shared_ptr<const InterfaceMap> interfaces;
  };

  std::shared_ptr<const InterfaceMap> Snapshot() const {
    LockGuard<Mutex> guard(mutex_);
    return state_.interfaces;
  }

  mutable Mutex mutex_;
  State state_;
  // The index of state_, for Find; replaced only under mutex_, each time followed by a wait
  // for the readers of the index it replaced.
  std::atomic<const InterfaceIndex*> current_;
  SnapshotReaders readers_;
};

}  // namespace Provider
}  // namespace Olma
