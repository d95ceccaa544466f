// Gateway functions by number, so that an input can choose one; each target has a table of them.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "fuzz/support/calls.h"
#include "fuzz/support/scratch.h"
#include "fuzz/support/target.h"
#include "gateway/gateways.h"

namespace readkit::fuzz {

/// What a call is made of: the names of its files, and numbers that the input chooses.
struct Job {
  std::string file;
  std::string index;
  std::uint8_t first = 0;
  std::uint8_t second = 0;
};

/// One way to call a gateway function. A table is only added to at its end: inputs choose by
/// number.
struct Way {
  const char* name;
  txGateway gateway;
  int nlhs;
  Inputs (*inputs)(const Job& job);
};

/// Calls the chosen one.
inline Outcome call(std::span<const Way> ways, std::size_t choice, const Job& job) {
  const Way& way = ways[choice % ways.size()];
  return call(way.name, way.gateway, way.nlhs, way.inputs(job));
}

// Short words for the inputs of calls.
inline host::Owned text(const std::string& bytes) { return host::make_text(bytes); }
inline host::Owned number(double value) { return host::make_scalar(value); }
inline host::Owned truth(bool value) { return host::make_scalar(value); }
inline host::Owned out() { return host::make_text(fresh_file("out")); }
/// No list of records, or one that begins with a record of the input's choice.
inline host::Owned ordinals(const Job& job) {
  if (job.first == 0) return host::make_row<std::uint32_t>({});
  return host::make_row<std::uint32_t>({job.first, job.first + std::uint32_t{job.second}});
}
/// The inputs of a quality scan of any source but memory; 0 to 93 is what FASTQ can hold.
inline Inputs scan_inputs(double type, const Job& job) {
  const double length = job.first == 0 ? -1 : job.first;
  return inputs(number(type), text(job.file), number(0), number(job.second % 2 == 0 ? 255 : 93),
                number(33), number(1000), number(length), number(job.second / 8), number(-1),
                host::make_row<double>({}), number(-1), number(job.first / 4), number(length),
                truth(job.second % 4 < 2));
}

}  // namespace readkit::fuzz
