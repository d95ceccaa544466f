#include "core/path.h"

#include <gtest/gtest.h>

#include "core/file.h"
#include "support/temp_dir.h"

namespace readkit::core_path_test {
namespace {

TEST(Path, KeepsItsTextAsGiven) {
  const UString text = {u'a', 0xD800, u'\0', u'b'};
  EXPECT_EQ(Path(text).text(), text);
  EXPECT_EQ(Path().text(), u"");
}

TEST(Path, NativeNameIsUtf8) {
  EXPECT_EQ(Path(u"dir/reads.bam").native(), "dir/reads.bam");
  EXPECT_EQ(Path(u"\u00e4\u20ac\U0001f9ec").native(), "\xc3\xa4\xe2\x82\xac\xf0\x9f\xa7\xac");
}

TEST(Path, TextThatNoNativeNameCanSpellOpensNoFile) {
  const UString rows[] = {
      u"",
      {0xD800},              // a high half at the end
      {u'a', 0xD800, u'b'},  // a high half before something else
      {0xDC00, u'a'},        // a low half alone
      {u'a', u'\0', u'b'},   // a NUL inside
  };
  for (const UString& text : rows) {
    EXPECT_EQ(Path(text).native(), "") << to_bytes(text);
    EXPECT_FALSE(File(Path(text), "rb").is_open()) << to_bytes(text);
  }
}

TEST(Path, NulDoesNotCutTheNameShort) {
  const TempDir folder;
  folder.write("a", "content");
  const Path path(folder.text("a") + UString(u"\0b", 2));
  EXPECT_FALSE(File(path, "rb").is_open());
}

TEST(Path, NameBeyondAsciiNamesItsFile) {
  const TempDir folder;
  folder.write("\xc3\xa4\xf0\x9f\xa7\xac.txt", "content");
  const Path path(folder.text("") + u"\u00e4\U0001f9ec.txt");
  EXPECT_TRUE(File(path, "rb").is_open());
}

}  // namespace
}  // namespace readkit::core_path_test
