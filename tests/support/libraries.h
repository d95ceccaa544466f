// The shared libraries that the tests load, one set per flavour of the test program.
#pragma once

#include <string>

namespace readkit {

/// The flavour that this test program is linked with: "exact" or "fast".
std::string flavour_name();

/// The real shared library of this flavour.
std::string library_path();

/// The library whose entry points are written for the tests of the host.
std::string fake_library_path();

}  // namespace readkit
