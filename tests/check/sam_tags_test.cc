// Optional fields of SAM lines.
#include "check/sam_tags.h"

#include <string>

#include <gtest/gtest.h>

#include "support/check_words.h"

namespace readkit::check_sam_tags_test {
namespace {

Found found_in(std::string_view fields) {
  Findings findings;
  TagNames names;
  check_sam_tags("NM:i:1", 3, 1, names, findings);  // of another line
  check_sam_tags(fields, 4, 2, names, findings);
  return found(findings);
}

TEST(SamTags, FieldsOfEveryTypePass) {
  for (const char* field :
       {"XA:A:!", "XA:A:~", "XI:i:0", "XI:i:-2147483648", "XI:i:4294967295", "XI:i:+5", "XF:f:1",
        "XF:f:-1.5e-7", "XF:f:+.5", "XF:f:009E+3", "XZ:Z:", "XZ:Z:a b:c", "XH:H:", "XH:H:0AF9",
        "XB:B:c,1,-2", "XB:B:f,1.5,2", "XB:B:I", "x9:Z:a", "zZ:Z:a"}) {
    EXPECT_EQ(found_in(field), Found{}) << field;
  }
  EXPECT_EQ(found_in("NM:i:1\tNH:i:1\tnm:i:1"), Found{});
}

TEST(SamTags, FieldsOfAnotherFormAreFound) {
  for (const char* field : {"",
                            "N",
                            "NM:i",
                            "NM;i:1",
                            "NM:i1:",
                            "9M:i:1",
                            "N_:i:1",
                            "NMX:i:1",
                            "XA:A:",
                            "XA:A:ab",
                            "XA:A: ",
                            "XI:i:",
                            "XI:i:x",
                            "XI:i:1x",
                            "XI:i:4294967296",
                            "XI:i:-2147483649",
                            "XF:f:",
                            "XF:f:x",
                            "XF:f: 1",
                            "XF:f:.",
                            "XF:f:-",
                            "XF:f:1e",
                            "XF:f:1e5x",
                            "XF:f:10.",   // these four
                            "XF:f:inf",   // were taken
                            "XF:f:-nan",  // for numbers
                            "XF:f:0x1",   // before
                            "XZ:Z:\x01",
                            "XH:H:0",
                            "XH:H:0g",
                            "XH:H:af",
                            "XB:B:",
                            "XB:B:q,1",
                            "XB:B:c,",
                            "XB:B:c,x",
                            "XB:B:c1",
                            "XX:q:1",
                            "N{:i:1",
                            "{N:i:1",
                            "N;:i:1",
                            "N-:i:1",
                            "XA:A:\x7f",
                            "XZ:Z:\x7f",
                            "XH:H:0:",
                            "XH:H:0G",
                            "XF:f:1x",
                            "XC:C:1"}) {
    EXPECT_EQ(found_in(field), (Found{"Tag 4 2"})) << field;
  }
  EXPECT_EQ(found_in("NM:i:1\t"), (Found{"Tag 4 2"}));
  EXPECT_EQ(found_in("NM:i:1\t\tNH:i:1"), (Found{"Tag 4 2"}));
}

TEST(SamTags, NamesComeOnce) {
  EXPECT_EQ(found_in("NM:i:1\tNH:i:1\tNM:i:2"), (Found{"TagRepeated 4 2"}));
}

TEST(SamTags, LineOfManyFieldsTakesNoTime) {
  std::string fields = "NM:i:1";
  for (int i = 0; i < 300000; ++i) fields += "\tNH:i:1";
  EXPECT_EQ(found_in(fields).size(), Findings::kMostOfAKind);
}

}  // namespace
}  // namespace readkit::check_sam_tags_test
