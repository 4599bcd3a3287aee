#include "host/base/errors_json.h"

namespace mien {

JsonValue ErrorAsJson(const Problem& problem) {
  return JsonObject({{"code", ToText(problem.code)},
                     {"file", problem.file},
                     {"place", problem.place},
                     {"what", problem.what},
                     {"fix", problem.fix}});
}

JsonValue ErrorsAsJson(const std::vector<Problem>& problems) {
  std::vector<JsonValue> errors;
  for (const Problem& problem : problems) errors.push_back(ErrorAsJson(problem));
  return JsonListOnLines(errors);
}

} // namespace mien
