#include "host/files/sha256.h"

#include <fmt/format.h>

#include <new>
#include <openssl/evp.h>

namespace mien {

std::string Sha256(std::string_view bytes) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned size = 0;
  if (EVP_Digest(bytes.data(), bytes.size(), digest, &size, EVP_sha256(), nullptr) != 1)
    throw std::bad_alloc(); // the only way for it to fail
  std::string text;
  for (unsigned i = 0; i < size; ++i) text += fmt::format("{:02x}", digest[i]);
  return text;
}

} // namespace mien
