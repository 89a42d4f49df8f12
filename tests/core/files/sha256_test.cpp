#include "core/files/sha256.h"

#include <gtest/gtest.h>

#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

// The FIPS 180-4 examples, and lengths on either side of a block's end,
// where padding spills into a second block.
TEST(Sha256, MatchesThePublishedDigests) {
    struct Row {
        std::string input;
        const char* digest;
    };
    const Row rows[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {std::string(55, 'a'), "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
        {std::string(64, 'a'), "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
        {std::string(1000000, 'a'),
         "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.input.size());
        Sha256 whole;
        whole.add(row.input);
        EXPECT_EQ(whole.hex(), row.digest);
        Sha256 pieces;
        for (size_t at = 0; at < row.input.size(); at += 7) {
            pieces.add(std::string_view(row.input).substr(at, 7));
        }
        EXPECT_EQ(pieces.hex(), row.digest);
    }
}

TEST(Sha256, AFileIsHashedAsItsBytesOrNotAtAll) {
    testing::TempFolder folder;
    testing::writeFile(folder.file("f"), "abc");
    EXPECT_EQ(sha256OfFile(folder.file("f")),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(sha256OfFile(folder.file("missing")), std::nullopt);
}

}  // namespace
}  // namespace kvillo
