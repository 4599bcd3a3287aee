#include "host/jobs/write_view.h"

#include "host/base/error.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/view/viewer_page.h"

namespace mien {

void CheckViewer(std::string_view setting) {
  if (!ViewerPage())
    throw UsageError(setting,
                     "this mien was built without Node.js, and cannot write pages; install nodejs and npm, "
                     "and build it again");
}

void WriteView(const std::string& path, const ViewPage& page) {
  WriteWhole(path, [&](std::ostream& out) { WriteViewPage(page, *ViewerPage(), out); });
}

} // namespace mien
