#include "support/comma_locale.h"

#include <clocale>
#include <cstdlib>
#include <cstring>

namespace readkit {
namespace {

bool set_comma_locale(int category, const char* name) {
  return std::setlocale(category, name) != nullptr &&
         std::strcmp(std::localeconv()->decimal_point, ",") == 0;
}

}  // namespace

CommaLocale::CommaLocale() : saved_(std::setlocale(LC_ALL, nullptr)) {
  for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "sv_SE.UTF-8"}) {
    is_set_ = is_set_ || set_comma_locale(LC_ALL, name);
  }
  if (is_set_) return;
  // Numbers alone, without the tables of letters, which take seconds. localedef warns of what else
  // a locale should have, and its status is that of a failure then.
  folder_.write(
      "numbers",
      "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\ngrouping -1\nEND LC_NUMERIC\n");
  const std::string make = "localedef -c -i '" + folder_.native("numbers") +
                           "' -f UTF-8 --no-archive '" + folder_.native("comma.UTF-8") +
                           "' >/dev/null 2>&1";
  [[maybe_unused]] const int status = std::system(make.c_str());
  setenv("LOCPATH", folder_.folder().c_str(), 1);
  is_set_ = set_comma_locale(LC_NUMERIC, "comma.UTF-8");
  unsetenv("LOCPATH");
}

CommaLocale::~CommaLocale() { std::setlocale(LC_ALL, saved_.c_str()); }

}  // namespace readkit
