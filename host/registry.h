// The function registry: namespaces that hold functions by name. A loaded library fills it through
// the operations of gateway/tx_registry.h.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/export.h"
#include "gateway/tx_registry.h"

/// A name that a library interned.
struct txName {
  std::string text;
  friend bool operator<(const txName& a, const txName& b) { return a.text < b.text; }
};

namespace readkit::host {

/// A function as a library registered it.
struct RegisteredFunction {
  std::string name;       ///< With its namespaces: "seqlab.internal.readkit.bamInfo".
  txGateway entry;        ///< Callable while the library that registered it stays loaded.
  std::string component;  ///< Empty when the library named none.
  int scope;              ///< The symbol scope that the library passed.
};

/// The functions that one library registered, and the names that it interned. Has the namespaces
/// seqlab > internal > readkit from the start. The operations of gateway/tx_registry.h work on the
/// registry that a CurrentRegistry of the calling thread names, outside of one on a registry of
/// that thread, so no two threads fill one. Several threads may read one that nobody fills.
class READKIT_EXPORT Registry {
 public:
  Registry();
  ~Registry();
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  /// The namespace of this dotted name, made with those above it if it does not exist. Null for a
  /// name that is empty or has an empty part.
  txFunctionNamespace* add_namespace(std::string_view dotted_name);
  /// The outermost namespace of this name, or null.
  txFunctionNamespace* find_namespace(std::string_view name) const;

  /// Adds a function under a full name; one that is there already is replaced and keeps its place.
  void add(RegisteredFunction function);
  /// The function of this full name or, for a name without a dot, the first registered function
  /// whose name ends with it after a dot. Null when there is none.
  const RegisteredFunction* find(std::string_view name) const;
  /// The one name of this text; lives as long as the registry.
  const txName* intern(std::string_view text);
  /// All functions, in the order of their registration.
  const std::vector<RegisteredFunction>& functions() const { return functions_; }

  /// The registry that the operations of gateway/tx_registry.h work on.
  static Registry& current();

 private:
  friend class CurrentRegistry;

  std::unique_ptr<txFunctionNamespace> root_;
  std::set<txName> names_;
  std::vector<RegisteredFunction> functions_;
};

/// Makes a registry the current one of this thread while it lives.
class READKIT_EXPORT CurrentRegistry {
 public:
  explicit CurrentRegistry(Registry& registry);
  ~CurrentRegistry();
  CurrentRegistry(const CurrentRegistry&) = delete;
  CurrentRegistry& operator=(const CurrentRegistry&) = delete;

 private:
  Registry* previous_;
};

}  // namespace readkit::host
