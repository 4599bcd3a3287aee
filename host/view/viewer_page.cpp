#include "host/view/viewer_page.h"

#if MIEN_HAS_VIEWER_PAGE
// embedded_page.S
extern "C" const char mien_viewer_page_begin[], mien_viewer_page_end[];
#endif

namespace mien {

std::optional<std::string_view> ViewerPage() {
#if MIEN_HAS_VIEWER_PAGE
  return std::string_view(mien_viewer_page_begin, mien_viewer_page_end);
#else
  return std::nullopt;
#endif
}

} // namespace mien
