#include "host/character/character.h"

namespace mien {

std::vector<std::string> Character::Shapes() const {
  std::vector<std::string> shapes;
  for (const Part& part : parts) shapes.insert(shapes.end(), part.shapes.begin(), part.shapes.end());
  return shapes;
}

} // namespace mien
