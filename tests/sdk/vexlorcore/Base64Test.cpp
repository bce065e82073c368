#include "vexlorcore/Base64.h"
#include "support/Test.h"

namespace {

using namespace VexlorCore;

TEST(Base64Test, AcceptsOnlyWhatItWouldWrite)
{
    std::string bytes;
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(DecodeBase64(EncodeBase64(bytes)), bytes);
        bytes += static_cast<char>(255 - i);
    }
    EXPECT_EQ(EncodeBase64("light w"), "bGlnaHQgdw==");
    EXPECT_EQ(DecodeBase64("bGln\r\naHQg\tdw==\n"), "light w");
    for (const auto* text : {"bGlnaHQgdw=", "bGlnaHQgdw", "bGlnaHQgdx==", "bGl=aHQg", "bG ln", "bGl-", "=", "ab==cd=="})
        EXPECT_FALSE(DecodeBase64(text)) << text;
}

} // namespace
