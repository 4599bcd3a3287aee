#include "host/files/sha256.h"

#include "host/files/read_file.h"

#include <fmt/format.h>

#include <array>
#include <memory>
#include <new>
#include <openssl/evp.h>

namespace mien {

namespace {

/// Hashes what it is given piece by piece. Only memory can be missing.
class Hash {
public:
  Hash() : context_(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
    Require(context_ && EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) == 1);
  }

  void Add(std::string_view bytes) {
    Require(EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) == 1);
  }

  std::string Text() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    Require(EVP_DigestFinal_ex(context_.get(), digest.data(), &size) == 1);
    std::string text;
    for (unsigned i = 0; i < size; ++i) text += fmt::format("{:02x}", digest[i]);
    return text;
  }

private:
  static void Require(bool done) {
    if (!done) throw std::bad_alloc();
  }

  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context_;
};

} // namespace

std::string Sha256(std::string_view bytes) {
  Hash hash;
  hash.Add(bytes);
  return hash.Text();
}

std::string Sha256(const MappedFile& file) {
  Hash hash;
  file.EachPart([&hash](std::string_view part) { hash.Add(part); });
  return hash.Text();
}

std::string Sha256OfFile(const std::filesystem::path& path) {
  Hash hash;
  ReadPieces(path, [&](std::string_view piece) { hash.Add(piece); });
  return hash.Text();
}

} // namespace mien
