#include "host/error.h"

#include <functional>
#include <new>
#include <stdexcept>
#include <utility>

#include "gateway/tx_array.h"
#include "host/catalog.h"

namespace readkit::host {
namespace {

[[noreturn]] void raise_standard(const char* kind, const char* what) {
  throw HostError(std::string("Tessel:cpp:") + kind, {std::string(what)});
}

// Raises std::bad_alloc when there is no memory for what it should raise.
[[noreturn]] void raise_translated() {
  try {
    throw;
  } catch (const HostError&) {
    throw;
  } catch (const MsgIdException& e) {
    throw HostError(e.get_error_id(), e.arguments());
  } catch (const std::out_of_range& e) {
    raise_standard("out_of_range", e.what());
  } catch (const std::invalid_argument& e) {
    raise_standard("invalid_argument", e.what());
  } catch (const std::length_error& e) {
    raise_standard("length_error", e.what());
  } catch (const std::bad_function_call& e) {
    raise_standard("bad_function_call", e.what());
  } catch (const std::bad_alloc& e) {
    raise_standard("bad_alloc", e.what());
  } catch (const std::exception& e) {
    raise_standard("exception", e.what());
  } catch (...) {
    raise_standard("exception", "an exception of an unknown type");
  }
}

HostError out_of_memory() {
  return HostError("Tessel:cpp:bad_alloc", {std::string(std::bad_alloc().what())});
}
// Made while there is memory, when the host is loaded.
const HostError kOutOfMemory = out_of_memory();

}  // namespace

HostError::HostError(std::string identifier, ErrorArguments arguments)
    : HostError(std::move(identifier), std::move(arguments), {}) {}

HostError::HostError(std::string identifier, ErrorArguments arguments, std::string text) {
  if (text.empty()) text = message(identifier, arguments);
  content_ = std::make_shared<const Content>(
      Content{std::move(identifier), std::move(arguments), std::move(text)});
}

HostError::~HostError() = default;

void raise_as_host_error() {
  try {
    raise_translated();
  } catch (const std::bad_alloc&) {
    throw HostError(kOutOfMemory);
  }
}

}  // namespace readkit::host

void gwErrMsgIdAndTxt(const char* id, const char* text) {
  throw readkit::host::HostError(id == nullptr ? "" : id, {}, text == nullptr ? "" : text);
}
