#include "python/calls.h"

#include <chrono>
#include <utility>
#include <vector>

#include "host/array.h"
#include "host/monitor.h"
#include "python/arrays_in.h"
#include "python/arrays_out.h"
#include "python/text_column.h"

namespace py = pybind11;

namespace readkit::python {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kBetweenLooks = std::chrono::milliseconds(50);

// What the library's transfers are shown to, without the GIL.
class Lookout {
 public:
  explicit Lookout(py::object progress) : progress_(std::move(progress)) {}

  bool see(const kxTransfer& transfer) {
    const Clock::time_point now = Clock::now();
    if (now < next_look_) return true;
    const py::gil_scoped_acquire gil;
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    if (!progress_.is_none()) {
      progress_(str_of_bytes(transfer.path), transfer.position, transfer.is_write);
    }
    next_look_ = Clock::now() + kBetweenLooks;
    return true;
  }

 private:
  py::object progress_;
  Clock::time_point next_look_ = Clock::now() + kBetweenLooks;
};

// An output, as far as it can be converted without the GIL: a column of a million cells is a few
// blocks of memory before any Python object is made.
struct Output {
  explicit Output(host::Owned given) : array(std::move(given)), texts(texts_in(array.get())) {
    if (texts) array.reset();
  }

  py::object to_object() {
    if (texts) return make_text_column(std::move(*texts));
    return to_python(std::move(array));
  }

  host::Owned array;
  std::optional<Texts> texts;
};

}  // namespace

py::tuple call(const host::Library& library, const std::string& name, const py::tuple& arguments,
               int nargout, py::object progress) {
  std::vector<host::Owned> inputs;
  for (const py::handle argument : arguments) inputs.push_back(to_host(argument));
  Lookout lookout(std::move(progress));
  std::vector<Output> outputs;
  {
    const py::gil_scoped_release no_gil;
    std::vector<host::Owned> arrays =
        host::call_watched(library.function(name), nargout, inputs,
                           [&](const kxTransfer& transfer) { return lookout.see(transfer); });
    for (host::Owned& array : arrays) outputs.emplace_back(std::move(array));
    inputs.clear();
  }
  py::tuple objects(outputs.size());
  for (std::size_t i = 0; i < outputs.size(); ++i) objects[i] = outputs[i].to_object();
  return objects;
}

}  // namespace readkit::python
