#include "support/comma_locale.h"

#include <clocale>
#include <cstdlib>
#include <cstring>

namespace readkit {
namespace {

bool set_comma_locale(const char* name) {
  return std::setlocale(LC_ALL, name) != nullptr &&
         std::strcmp(std::localeconv()->decimal_point, ",") == 0;
}

}  // namespace

CommaLocale::CommaLocale() : saved_(std::setlocale(LC_ALL, nullptr)) {
  for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "sv_SE.UTF-8"}) {
    is_set_ = is_set_ || set_comma_locale(name);
  }
  if (is_set_) return;
  const std::string make = "localedef -i de_DE -f UTF-8 --no-archive '" +
                           folder_.native("de_DE.UTF-8") + "' >/dev/null 2>&1";
  if (std::system(make.c_str()) != 0) return;
  setenv("LOCPATH", folder_.folder().c_str(), 1);
  is_set_ = set_comma_locale("de_DE.UTF-8");
  unsetenv("LOCPATH");
}

CommaLocale::~CommaLocale() { std::setlocale(LC_ALL, saved_.c_str()); }

}  // namespace readkit
