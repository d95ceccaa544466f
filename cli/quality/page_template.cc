#include "cli/quality/page_template.h"

#include <unistd.h>

#include "cli/call/libraries.h"
#include "cli/files/byte_source.h"
#include "cli/terminal/failure.h"

namespace readkit::cli {

std::string page_template() {
  const std::string path = shared_file_path("report.html");
  if (access(path.c_str(), R_OK) != 0) {
    throw Failure(path, "the page is missing, which is made when readkit is built", {},
                  "build readkit where npm is there and can fetch packages; until then --json and "
                  "--fastqc-data have all numbers");
  }
  ByteSource source(path);
  std::string page;
  for (auto bytes = source.read(); !bytes.empty(); bytes = source.read()) {
    page.append(bytes.begin(), bytes.end());
  }
  return page;
}

}  // namespace readkit::cli
