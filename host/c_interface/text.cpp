#include "host/c_interface/text.h"

using namespace mien;

const char* mien_text_data(const mien_text* text) { return Known(text) ? text->bytes.c_str() : nullptr; }
size_t mien_text_size(const mien_text* text) { return Known(text) ? text->bytes.size() : 0; }
mien_status mien_text_free(mien_text* text) { return Free(text); }
