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

}  // namespace

HostError::HostError(std::string identifier, ErrorArguments arguments)
    : identifier_(std::move(identifier)),
      arguments_(std::move(arguments)),
      text_(message(identifier_, arguments_)) {}

HostError::HostError(std::string identifier, ErrorArguments arguments, std::string text)
    : identifier_(std::move(identifier)),
      arguments_(std::move(arguments)),
      text_(text.empty() ? message(identifier_, arguments_) : std::move(text)) {}

HostError::~HostError() = default;

void raise_as_host_error() {
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
  } catch (const std::bad_alloc& e) {
    raise_standard("bad_alloc", e.what());
  } catch (const std::bad_function_call& e) {
    raise_standard("bad_function_call", e.what());
  } catch (const std::exception& e) {
    raise_standard("exception", e.what());
  } catch (...) {
    raise_standard("exception", "an exception of an unknown type");
  }
}

}  // namespace readkit::host

void gwErrMsgIdAndTxt(const char* id, const char* text) {
  throw readkit::host::HostError(id == nullptr ? "" : id, {}, text == nullptr ? "" : text);
}
