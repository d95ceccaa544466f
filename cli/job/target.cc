#include "cli/job/target.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "cli/files/named_pipe.h"
#include "cli/job/job.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/output.h"
#include "cli/terminal/terminal.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& name, const char* what, int reason) {
  throw Failure(name, std::string(what) + ": " + std::generic_category().message(reason), {},
                "what was written so far is removed; make room or choose another folder");
}

// A file descriptor to write to, closed in the end.
class Descriptor {
 public:
  Descriptor(const std::string& path, std::string name, int flags) : name_(std::move(name)) {
    constexpr mode_t kEverybody = 0666;
    fd_ = open(path.c_str(), O_WRONLY | O_CLOEXEC | flags, kEverybody);
    if (fd_ < 0) fail(name_, "cannot be written", errno);
  }
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int number() const { return fd_; }
  void close() {
    if (::close(std::exchange(fd_, -1)) != 0) fail(name_, "cannot be written", errno);
  }

 private:
  std::string name_;
  int fd_ = -1;
};

}  // namespace

struct Target::Device {
  explicit Device(const std::string& name) : descriptor(name, name, 0), out(descriptor.number()) {}

  Descriptor descriptor;
  Output out;
};

Target::~Target() = default;

Output& Target::stream() { return device_ ? device_->out : job_.out(); }

Target::Target(Job& job, std::string name, Content content, Existing existing,
               std::initializer_list<const Input*> inputs)
    : job_(job), name_(std::move(name)), path_(name_) {
  if (name_ == "-") {
    name_ = "standard output";
    if (terminal().output) job_.progress().hide();
    if (content == Content::kBinary && terminal().output) {
      throw UsageError(
          "standard output is a terminal, which cannot show binary data; "
          "name an output file, or send it through a pipe");
    }
    return;
  }
  std::error_code error;
  const fs::file_status status = fs::status(name_, error);
  for (const Input* const input : inputs) {
    if (fs::equivalent(name_, input->path(), error)) {
      throw UsageError("the output " + name_ + " is the input itself; choose another name");
    }
  }
  if (fs::is_directory(status)) {
    throw Failure(name_, "is a folder", {}, "name a file in it");
  }
  if (fs::exists(status)) {
    if (!fs::is_regular_file(status)) {
      device_ = std::make_unique<Device>(name_);
      return;
    }
    if (existing == Existing::kKept) {
      throw Failure(name_, "exists already", {}, "choose another name, or replace it with --force");
    }
    const fs::path real = fs::canonical(name_, error);
    if (!error) path_ = real.string();
  }
  folder_ = PrivateFolder::beside(path_);
  job_.show_as(folder_->path(), name_);
}

void Target::write(const std::string& file_name,
                   const std::function<void(const std::string&)>& work) {
  if (folder_) {
    const std::string file = folder_->file(file_name);
    work(file);
    return commit(file);
  }
  Output& out = stream();
  NamedPipe pipe(file_name, [&out](std::string_view piece) {
    out.append(piece);
    out.finish();
  });
  job_.show_as(pipe.path(), name_);
  pipe.run([&] { work(pipe.path()); });
}

void Target::write_here(const std::function<void(Output&)>& work) {
  if (!folder_) {
    work(stream());
    return stream().finish();
  }
  const std::string file = folder_->file("output");
  Descriptor descriptor(file, name_, O_CREAT | O_EXCL);
  Output out(descriptor.number());
  try {
    work(out);
    out.finish();
  } catch (const OutputError& e) {
    throw Failure(name_, e.what(), {},
                  "what was written so far is removed; make room or choose another folder");
  }
  descriptor.close();
  commit(file);
}

// The file takes the target's place, and the permissions of what was there.
void Target::commit(const std::string& file) {
  struct stat before = {};
  if (stat(path_.c_str(), &before) == 0) chmod(file.c_str(), before.st_mode & 07777U);
  if (rename(file.c_str(), path_.c_str()) != 0) fail(name_, "cannot be written", errno);
}

}  // namespace readkit::cli
