#include "host/registry.h"

#include <algorithm>
#include <utility>

struct txFunctionNamespace {
  readkit::host::Registry* registry = nullptr;
  std::string name;
  std::string path;  ///< The dotted name, itself included.
  std::vector<std::unique_ptr<txFunctionNamespace>> inner;
};

namespace readkit::host {
namespace {

thread_local Registry* t_current = nullptr;

txFunctionNamespace* find_inner(const txFunctionNamespace& outer, std::string_view name) {
  const auto found = std::find_if(outer.inner.begin(), outer.inner.end(),
                                  [&](const auto& inner) { return inner->name == name; });
  return found == outer.inner.end() ? nullptr : found->get();
}

txFunctionNamespace* add_inner(txFunctionNamespace& outer, std::string_view name) {
  auto inner = std::make_unique<txFunctionNamespace>();
  inner->registry = outer.registry;
  inner->name = name;
  inner->path = outer.path.empty() ? inner->name : outer.path + "." + inner->name;
  return outer.inner.emplace_back(std::move(inner)).get();
}

// The registry for what no loading library registers.
Registry& thread_registry() {
  thread_local Registry registry;
  return registry;
}

}  // namespace

Registry::Registry() : root_(std::make_unique<txFunctionNamespace>()) {
  root_->registry = this;
  add_namespace("seqlab.internal.readkit");
}

Registry::~Registry() = default;

txFunctionNamespace* Registry::add_namespace(std::string_view dotted_name) {
  const std::string_view dotted = dotted_name;
  const bool has_empty_part = dotted.empty() || dotted.front() == '.' || dotted.back() == '.' ||
                              dotted.find("..") != std::string_view::npos;
  if (has_empty_part) return nullptr;
  txFunctionNamespace* at = root_.get();
  for (std::size_t begin = 0; begin <= dotted.size();) {
    const std::size_t end = std::min(dotted.find('.', begin), dotted.size());
    const std::string_view part = dotted.substr(begin, end - begin);
    txFunctionNamespace* const existing = find_inner(*at, part);
    at = existing != nullptr ? existing : add_inner(*at, part);
    begin = end + 1;
  }
  return at;
}

txFunctionNamespace* Registry::find_namespace(std::string_view name) const {
  return find_inner(*root_, name);
}

void Registry::add(RegisteredFunction function) {
  const auto same = std::find_if(functions_.begin(), functions_.end(),
                                 [&](const auto& other) { return other.name == function.name; });
  if (same != functions_.end()) {
    *same = std::move(function);
  } else {
    functions_.push_back(std::move(function));
  }
}

const RegisteredFunction* Registry::find(std::string_view name) const {
  const bool bare = name.find('.') == std::string_view::npos;
  const auto found = std::find_if(functions_.begin(), functions_.end(), [&](const auto& function) {
    if (!bare) return function.name == name;
    const std::size_t dot = function.name.rfind('.');
    return std::string_view(function.name).substr(dot + 1) == name;
  });
  return found == functions_.end() ? nullptr : &*found;
}

const txName* Registry::intern(std::string_view text) {
  return &*names_.insert(txName{std::string(text)}).first;
}

Registry& Registry::current() { return t_current != nullptr ? *t_current : thread_registry(); }

CurrentRegistry::CurrentRegistry(Registry& registry) : previous_(t_current) {
  t_current = &registry;
}

CurrentRegistry::~CurrentRegistry() { t_current = previous_; }

}  // namespace readkit::host

extern "C" {

const txName* txInternName(const char* name) {
  if (name == nullptr || *name == '\0') return nullptr;
  return readkit::host::Registry::current().intern(name);
}

txFunctionNamespace* txFindNamespace(const char* name) {
  if (name == nullptr) return nullptr;
  return readkit::host::Registry::current().find_namespace(name);
}

txFunctionNamespace* txFindInnerNamespace(txFunctionNamespace* outer, const char* name) {
  if (outer == nullptr || name == nullptr) return nullptr;
  return readkit::host::find_inner(*outer, name);
}

bool txAddFunction(txFunctionNamespace* ns, const txName* name, txGateway function,
                   const char* component, int scope) {
  if (ns == nullptr || name == nullptr || function == nullptr) return false;
  ns->registry->add(
      {ns->path + "." + name->text, function, component == nullptr ? "" : component, scope});
  return true;
}

}  // extern "C"
