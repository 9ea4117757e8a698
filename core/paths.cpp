#include "core/paths.h"

#include "core/fixed_paths.h"

namespace gwconf {

const Paths& paths() {
  static constexpr Paths kProduct = [] {
    Paths product{};
    for (const FixedPath& path : kFixedPaths)
      product.*path.member = path.text;
    return product;
  }();
  return kProduct;
}

}  // namespace gwconf
