#include "support/temp_dir.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <gtest/gtest.h>

namespace readkit {

namespace fs = std::filesystem;

TempDir::TempDir() : folder_((fs::temp_directory_path() / "readkit-test-XXXXXX").string()) {
  if (mkdtemp(folder_.data()) == nullptr) {
    throw std::runtime_error("cannot make a folder like " + folder_);
  }
}

TempDir::~TempDir() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

std::string TempDir::native(std::string_view name) const {
  return folder_ + "/" + std::string(name);
}

Path TempDir::path(std::string_view name) const { return to_path(native(name)); }

Path TempDir::write(std::string_view name, std::string_view bytes) const {
  write_file(native(name), bytes);
  return path(name);
}

void TempDir::overwrite(std::string_view name, std::size_t offset, std::string_view bytes) const {
  std::fstream file(native(name), std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(static_cast<std::streamoff>(offset));
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) throw std::runtime_error("cannot overwrite " + native(name));
}

void TempDir::truncate(std::string_view name, std::size_t size) const {
  fs::resize_file(native(name), size);
}

std::string TempDir::read(std::string_view name) const { return read_file(native(name)); }

bool TempDir::exists(std::string_view name) const { return fs::exists(native(name)); }

std::vector<std::string> TempDir::names() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder_)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

Path to_path(std::string_view native) { return Path(to_ustring(native)); }

std::string read_file(const std::string& native) {
  std::ifstream file(native, std::ios::binary);
  if (!file) {
    ADD_FAILURE() << "cannot open " << native;
    return {};
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void write_file(const std::string& native, std::string_view bytes) {
  std::ofstream file(native, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) throw std::runtime_error("cannot write " + native);
}

}  // namespace readkit
