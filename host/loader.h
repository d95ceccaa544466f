// Loads a library of gateway functions and finds its functions by name.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/export.h"
#include "core/monitor.h"
#include "gateway/tx_array.h"

namespace readkit::host {

class LoadedLibrary;

/// A gateway function of a loaded library. Copyable; keeps the library loaded while it lives.
class READKIT_EXPORT Function {
 public:
  Function(std::string name, txGateway gateway, std::shared_ptr<const LoadedLibrary> library);

  /// The registered name with its namespaces, or the bare name of a function that is exported only.
  const std::string& name() const { return name_; }
  /// REQUIRES for calling it: this object, or a copy, lives.
  txGateway entry() const { return entry_; }
  /// Has the library show the transfers of this thread to `monitor` (see kxSetMonitor), or to none
  /// when that is null. Does nothing for a library that shows none.
  void set_monitor(kxMonitor monitor, void* context) const;

 private:
  std::string name_;
  txGateway entry_;
  std::shared_ptr<const LoadedLibrary> library_;
};

/// A loaded library with the functions it registered. Copies share one loaded library, which is
/// told to terminate and is unloaded when the last copy and the last of its functions are gone.
/// Several libraries may be loaded at once, the same file or different ones: each has its own
/// functions. Threads may load at the same time: the entry points of the file must be ready to be
/// called at the same time then, as those of readkit are.
class READKIT_EXPORT Library {
 public:
  /// Loads the file at `path` and lets it register its functions. Raises HostError when there is no
  /// such file (id::kLibraryNotFound), when it does not load (id::kLibraryDoesNotLoad), has no
  /// entry point (id::kNoEntryPoint) or registers nothing (id::kNothingRegistered).
  explicit Library(const std::string& path);

  const std::string& path() const;
  /// The registered names, with namespaces, in the order of registration.
  std::vector<std::string> function_names() const;

  /// The function of this name: with its namespaces ("seqlab.internal.readkit.bamInfo"), bare
  /// ("bamInfo"), or the bare name of one that the library exports from namespace readkit without
  /// registering it. Raises HostError (id::kFunctionNotFound) when there is none.
  Function function(std::string_view name) const;
  /// Whether `function(name)` finds one.
  bool has(std::string_view name) const;

 private:
  std::shared_ptr<const LoadedLibrary> library_;
};

/// The file of the flavour "exact" or "fast" of the library that came with this host, in the same
/// folder as the host itself. Raises HostError (id::kLibraryNotFound) for any other flavour.
READKIT_EXPORT std::string flavour_path(std::string_view flavour);

}  // namespace readkit::host
