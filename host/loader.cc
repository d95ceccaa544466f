#include "host/loader.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include <dlfcn.h>

#include "host/error.h"
#include "host/registry.h"

namespace readkit::host {
namespace {

constexpr char kEntryPoint[] = "TslInitialize_readkit";
constexpr char kExitPoint[] = "TslTerminate_readkit";
constexpr char kMonitorPoint[] = "kxSetMonitor";

struct Closer {
  void operator()(void* handle) const { dlclose(handle); }
};
using Handle = std::unique_ptr<void, Closer>;

std::string last_loader_error() {
  const char* const text = dlerror();
  return text == nullptr ? "unknown reason" : text;
}

// The file that this host was loaded from; null when the linker does not know.
const char* host_file() {
  Dl_info info{};
  return dladdr(reinterpret_cast<const void*>(&txGetClassID), &info) == 0 ? nullptr
                                                                          : info.dli_fname;
}

// Libraries expect the host's operations among the global symbols. When this host came into the
// process as a private part of something else, such as an extension module of a scripting
// language, its symbols are not; loading its object again with RTLD_GLOBAL makes them so.
void make_host_symbols_global() {
  const char* const file = host_file();
  if (file == nullptr) return;
  const Handle host(dlopen(file, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL));
}

// A name without a slash would be searched for in the system's folders.
std::string as_path(const std::string& path) {
  return path.find('/') == std::string::npos ? "./" + path : path;
}

Handle open_library(const std::string& path) {
  std::error_code error;
  if (path.empty() || !std::filesystem::exists(path, error)) {
    throw HostError(id::kLibraryNotFound, {path});
  }
  make_host_symbols_global();
  Handle handle(dlopen(as_path(path).c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!handle) throw HostError(id::kLibraryDoesNotLoad, {path, last_loader_error()});
  return handle;
}

// The name under which compilers export
// void readkit::NAME(int, txArray**, int, const txArray**).
std::string exported_name(std::string_view name) {
  return "_ZN7readkit" + std::to_string(name.size()) + std::string(name) + "EiPP7txArrayiPPKS0_";
}

}  // namespace

/// A library in memory: initialised by the constructor, terminated by the destructor.
class LoadedLibrary {
 public:
  explicit LoadedLibrary(const std::string& path);
  ~LoadedLibrary();
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  const std::string& path() const { return path_; }
  const Registry& registry() const { return registry_; }
  /// The exported symbol of this name, or null.
  template <typename FunctionPointer>
  FunctionPointer symbol(const std::string& name) const {
    return reinterpret_cast<FunctionPointer>(dlsym(handle_.get(), name.c_str()));
  }

 private:
  std::string path_;
  Handle handle_;  // closed after the registry is gone
  Registry registry_;
};

LoadedLibrary::LoadedLibrary(const std::string& path) : path_(path), handle_(open_library(path)) {
  auto* const initialize = symbol<bool (*)()>(kEntryPoint);
  if (initialize == nullptr) {
    throw HostError(id::kNoEntryPoint, {path_, std::string(kEntryPoint)});
  }
  bool registered = false;
  try {
    const CurrentRegistry current(registry_);
    registered = initialize();
  } catch (...) {
    // Here, while the code of the exception's type is still loaded.
    raise_as_host_error();
  }
  if (!registered || registry_.functions().empty()) {
    throw HostError(id::kNothingRegistered, {path_});
  }
}

LoadedLibrary::~LoadedLibrary() {
  if (auto* const terminate = symbol<void (*)()>(kExitPoint)) terminate();
}

Function::Function(std::string name, txGateway gateway,
                   std::shared_ptr<const LoadedLibrary> library)
    : name_(std::move(name)), entry_(gateway), library_(std::move(library)) {}

void Function::set_monitor(kxMonitor monitor, void* context) const {
  using SetMonitor = void (*)(kxMonitor, void*);
  if (auto* const set = library_->symbol<SetMonitor>(kMonitorPoint)) set(monitor, context);
}

Library::Library(const std::string& path) : library_(std::make_shared<const LoadedLibrary>(path)) {}

const std::string& Library::path() const { return library_->path(); }

std::vector<std::string> Library::function_names() const {
  std::vector<std::string> names;
  for (const RegisteredFunction& function : library_->registry().functions()) {
    names.push_back(function.name);
  }
  return names;
}

Function Library::function(std::string_view name) const {
  if (const RegisteredFunction* registered = library_->registry().find(name)) {
    return Function(registered->name, registered->entry, library_);
  }
  const bool bare = !name.empty() && name.find('.') == std::string_view::npos;
  txGateway const entry = bare ? library_->symbol<txGateway>(exported_name(name)) : nullptr;
  if (entry == nullptr) throw HostError(id::kFunctionNotFound, {std::string(name), path()});
  return Function(std::string(name), entry, library_);
}

bool Library::has(std::string_view name) const {
  try {
    function(name);
    return true;
  } catch (const HostError&) {
    return false;
  }
}

std::string flavour_path(std::string_view flavour) {
  if (flavour != "exact" && flavour != "fast") {
    throw HostError(id::kLibraryNotFound, {std::string(flavour)});
  }
  // The name with the version, which is there where nobody develops, too.
  const char* const name = flavour == "exact" ? "libreadkit.so." READKIT_SOVERSION
                                              : "libreadkit-fast.so." READKIT_SOVERSION;
  const char* const host = host_file();
  const std::filesystem::path file(host == nullptr ? "" : host);
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::canonical(file, error).parent_path();
  return ((error ? file.parent_path() : folder) / name).string();
}

}  // namespace readkit::host
