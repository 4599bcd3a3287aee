#include "host/files/sha256.h"

#include "host/base/error.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

using mien::Sha256;

// The standard's own examples.
TEST(Sha256, IsTheStandards) {
  EXPECT_EQ(Sha256(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(Sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(Sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(Sha256(std::string(1000000, 'a')),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256, OfAFileIsThatOfItsBytes) {
  const std::filesystem::path file = std::filesystem::temp_directory_path() / "mien_sha256_of_a_file";
  for (const std::size_t size : {0u, 1u, 1u << 20, (1u << 20) + 1, 10'000'000u}) { // pieces are of 2^20 bytes
    std::string bytes(size, 'x');
    for (std::size_t i = 0; i < size; i += 1000) bytes[i] = static_cast<char>(i / 1000);
    std::ofstream(file, std::ios::binary) << bytes;
    EXPECT_EQ(mien::Sha256OfFile(file), Sha256(bytes)) << size;
    EXPECT_EQ(Sha256(mien::MappedFile(file)), Sha256(bytes)) << size;
  }
  std::filesystem::remove(file);
  EXPECT_THROW(mien::Sha256OfFile(file), mien::InputError);
  EXPECT_THROW(mien::Sha256OfFile("/"), mien::InputError);
}

// Files hold any byte: nothing ends at a zero, and none is negative.
TEST(Sha256, TakesEveryByte) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  EXPECT_EQ(Sha256(bytes), "40aff2e9d2d8922e47afd4648e6967497158785fbd1da870e7110266bf944880");
  EXPECT_EQ(Sha256(std::string_view(bytes).substr(0, 1)),
            "6e340b9cffb37a989ca544e6bb780a2c78901d3fb33738768511a30617afa01d");
}

// A block has 64 bytes, of which the last 9 need room.
TEST(Sha256, EveryLengthHasItsOwn) {
  std::set<std::string> sums;
  for (std::size_t length = 0; length <= 200; ++length) sums.insert(Sha256(std::string(length, 'x')));
  EXPECT_EQ(sums.size(), 201u);
}
