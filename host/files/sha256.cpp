#include "host/files/sha256.h"

#include <fmt/format.h>

#include <memory>
#include <new>
#include <openssl/evp.h>

namespace mien {

namespace {

/// A digest of what is added; it fails only for lack of memory.
class Digest {
public:
  Digest() : context_(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
    Check(context_ && EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) == 1);
  }

  void Add(std::string_view bytes) {
    Check(EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) == 1);
  }

  std::string Text() {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    Check(EVP_DigestFinal_ex(context_.get(), digest, &size) == 1);
    std::string text;
    for (unsigned i = 0; i < size; ++i) text += fmt::format("{:02x}", digest[i]);
    return text;
  }

private:
  static void Check(bool done) {
    if (!done) throw std::bad_alloc();
  }

  std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context_;
};

} // namespace

std::string Sha256(std::string_view bytes) {
  Digest digest;
  digest.Add(bytes);
  return digest.Text();
}

std::string Sha256(const MappedFile& file) {
  Digest digest;
  file.EachPart([&digest](std::string_view part) { digest.Add(part); });
  return digest.Text();
}

} // namespace mien
