#include "core/file_stream.h"

#include <fstream>
#include <ios>
#include <istream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/closes_on_exec.h"
#include "support/random_data.h"
#include "support/temp_dir.h"

namespace readkit::core_file_stream_test {
namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 18;

// A file opened twice: by a FileStream, and by the standard stream that it must equal.
class Both {
 public:
  Both(const TempDir& folder, std::string_view name) {
    stream.open(folder.path(name), std::ios::in | std::ios::binary);
    standard.open(folder.native(name), std::ios::in | std::ios::binary);
    check("open");
  }

  // Each does one thing on both and expects the same of both. False when the state is not good.
  bool next_line() {
    std::string_view view;
    std::string text;
    const bool found = stream.next_line(view);
    EXPECT_EQ(found, static_cast<bool>(std::getline(standard, text)));
    if (found) {
      EXPECT_TRUE(view == text) << "lines of " << view.size() << " and " << text.size();
    }
    return check("next_line");
  }
  bool getline() {
    std::string mine;
    std::string text;
    std::getline(stream, mine);
    std::getline(standard, text);
    EXPECT_TRUE(mine == text);
    return check("getline");
  }
  bool get() {
    EXPECT_EQ(stream.get(), standard.get());
    EXPECT_EQ(stream.gcount(), standard.gcount());
    return check("get");
  }
  bool peek() {
    EXPECT_EQ(stream.peek(), standard.peek());
    return check("peek");
  }
  bool read(std::size_t size) {
    std::string mine(size, '\0');
    std::string text(size, '\0');
    stream.read(mine.data(), static_cast<std::streamsize>(size));
    standard.read(text.data(), static_cast<std::streamsize>(size));
    EXPECT_EQ(stream.gcount(), standard.gcount());
    EXPECT_TRUE(mine == text);
    return check("read");
  }
  bool seek(std::size_t offset) {
    stream.clear();
    standard.clear();
    stream.seekg(static_cast<std::streamoff>(offset));
    standard.seekg(static_cast<std::streamoff>(offset));
    return check("seekg");
  }
  bool tell() {
    EXPECT_EQ(stream.tellg(), standard.tellg());
    return check("tellg");
  }

  FileStream stream;
  std::ifstream standard;

 private:
  bool check(const char* step) const {
    EXPECT_EQ(stream.rdstate(), standard.rdstate()) << step;
    return stream.good();
  }
};

// Lines of all lengths, some of which cross the end of the buffer or fill more than one.
std::string random_lines(Random& random) {
  std::string text;
  const std::size_t size = random() % (3 * kBufferSize);
  while (text.size() < size) {
    const std::uint64_t kind = random() % 100;
    std::size_t length = random() % 300;
    if (kind < 20) length = 0;
    if (kind >= 60) length = random() % 20000;
    if (kind == 99) length = random() % (2 * kBufferSize);
    text += std::string(length, static_cast<char>('a' + random() % 26)) + '\n';
  }
  if (random() % 2 == 0 && !text.empty()) text.pop_back();
  return text;
}

TEST(FileStream, ProgramsThatTheProcessStartsDoNotHoldItsFileOpen) {
  const TempDir folder;
  FileStream stream;
  stream.open(folder.path("f"), std::ios::out);
  ASSERT_TRUE(stream.is_open());
  EXPECT_TRUE(closes_on_exec(folder.native("f")));
}

TEST(FileStream, FileThatIsMissingSetsTheFailBit) {
  const TempDir folder;
  FileStream stream;
  stream.open(folder.path("missing"), std::ios::in);
  EXPECT_EQ(stream.rdstate(), std::ios::failbit);
  EXPECT_FALSE(stream.is_open());
  stream.open(Path(), std::ios::in);
  EXPECT_EQ(stream.rdstate(), std::ios::failbit);
}

TEST(FileStream, OpenClearsTheStateOfTheTryBefore) {
  const TempDir folder;
  FileStream stream;
  stream.open(folder.path("f"), std::ios::in);
  stream.open(folder.write("f", "line\n"), std::ios::in);
  EXPECT_TRUE(stream.good());
  EXPECT_TRUE(stream.is_open());
  std::string_view line;
  EXPECT_TRUE(stream.next_line(line));
  EXPECT_EQ(line, "line");
}

TEST(FileStream, SecondOpenOfAnOpenStreamFailsAndKeepsTheFirst) {
  const TempDir folder;
  FileStream stream;
  stream.open(folder.write("f", "first\n"), std::ios::in);
  stream.open(folder.write("g", "second\n"), std::ios::in);
  EXPECT_TRUE(stream.fail());
  stream.clear();
  std::string_view line;
  EXPECT_TRUE(stream.next_line(line));
  EXPECT_EQ(line, "first");
}

TEST(FileStream, StreamThatWasNeverOpenedReadsAndTakesNothing) {
  FileStream stream;
  EXPECT_FALSE(stream.is_open());
  std::string_view line;
  EXPECT_FALSE(stream.next_line(line));
  EXPECT_TRUE(stream.fail());
  FileStream out;
  out.write("x", 1);
  EXPECT_TRUE(out.bad());
}

TEST(FileStream, LinesAndStatesEqualThoseOfAStandardStreamOnATable) {
  const TempDir folder;
  const std::string long_line(kBufferSize, 'x');
  const std::string texts[] = {"",
                               "\n",
                               "\n\n",
                               "a",
                               "a\n",
                               "a\n\n",
                               "a\n\nb",
                               std::string("a\0b\n\0", 5),
                               "a\r\n\r\n",
                               long_line,
                               long_line + "\n",
                               long_line + "\n\n",
                               long_line.substr(1) + "\n",
                               long_line.substr(1) + "\nb",
                               long_line.substr(2) + "\nb\nc\n",
                               long_line + long_line + long_line + "\nb\n"};
  for (const std::string& text : texts) {
    folder.write("f", text);
    Both both(folder, "f");
    while (both.next_line()) {
    }
    // Twice more behind the end.
    both.next_line();
    both.next_line();
  }
}

TEST(FileStream, LinesAndStatesEqualThoseOfAStandardStreamOnRandomFiles) {
  const TempDir folder;
  Random random(31);
  for (int round = 0; round < 40; ++round) {
    folder.write("f", random_lines(random));
    Both both(folder, "f");
    while (both.next_line()) {
    }
    both.next_line();
    if (HasFailure()) FAIL() << "in round " << round;
  }
}

TEST(FileStream, LinesMixWithEveryOtherOperation) {
  const TempDir folder;
  Random random(32);
  for (int round = 0; round < 15; ++round) {
    const std::string text = random_lines(random);
    folder.write("f", text);
    Both both(folder, "f");
    for (int step = 0; step < 300; ++step) {
      switch (random() % 10) {
        case 0:
          both.getline();
          break;
        case 1:
          both.get();
          break;
        case 2:
          both.peek();
          break;
        case 3:
          both.read(random() % (random() % 20 == 0 ? 2 * kBufferSize : 500));
          break;
        case 4:
          both.tell();
          break;
        case 5:
          if (random() % 4 == 0) both.seek(random() % (text.size() + 10));
          break;
        default:
          both.next_line();
      }
      if (HasFailure()) FAIL() << "in step " << step << " of round " << round;
    }
  }
}

TEST(FileStream, LineIsReadAgainFromWhereTellgWas) {
  const TempDir folder;
  FileStream stream;
  stream.open(folder.write("f", "one\ntwo\nthree"), std::ios::in);
  std::string_view line;
  ASSERT_TRUE(stream.next_line(line));
  const std::streampos second = stream.tellg();
  EXPECT_EQ(second, std::streampos(4));
  ASSERT_TRUE(stream.next_line(line));
  ASSERT_TRUE(stream.next_line(line));
  EXPECT_EQ(line, "three");
  EXPECT_TRUE(stream.eof());
  stream.clear();
  stream.seekg(second);
  ASSERT_TRUE(stream.next_line(line));
  EXPECT_EQ(line, "two");
}

TEST(FileStream, StreamThatIsNotGoodGivesNoLineAlthoughItHoldsOne) {
  const TempDir folder;
  folder.write("f", "one\ntwo\nthree\n");
  for (const std::ios::iostate bit : {std::ios::failbit, std::ios::eofbit, std::ios::badbit}) {
    Both both(folder, "f");
    ASSERT_TRUE(both.next_line());
    both.stream.setstate(bit);
    both.standard.setstate(bit);
    EXPECT_FALSE(both.next_line());
    EXPECT_EQ(both.stream.rdstate(), bit | std::ios::failbit);
    both.stream.clear();
    both.standard.clear();
    EXPECT_TRUE(both.next_line());
  }
}

TEST(FileStream, ExceptionMaskAppliesToLines) {
  const TempDir folder;
  FileStream stream;
  stream.open(folder.write("f", "a\n"), std::ios::in);
  stream.exceptions(std::ios::failbit);
  std::string_view line;
  EXPECT_TRUE(stream.next_line(line));
  EXPECT_THROW(stream.next_line(line), std::ios::failure);
}

TEST(FileStream, FolderGivesTheBadBitWhenItIsRead) {
  const TempDir folder;
  FileStream stream;
  stream.open(to_path(folder.folder()), std::ios::in);
  ASSERT_TRUE(stream.is_open());
  std::string_view line;
  EXPECT_FALSE(stream.next_line(line));
  EXPECT_TRUE(stream.bad());
  EXPECT_FALSE(stream.eof());
}

}  // namespace
}  // namespace readkit::core_file_stream_test
