#include "library/Enumerations.h"

#include <algorithm>
#include <span>

namespace Kvex::Lib {

namespace {

struct ProductRow {
  std::string_view modelText;
  std::uint32_t generation;
  ProductIdentity identity;
};

// Reference data of the device family goes here; none is published.
constexpr std::span<const ProductRow> kProducts{};

}  // namespace

ProductIdentity productIdentity(std::string_view modelText, std::uint32_t generation) {
  const auto row = std::ranges::find_if(kProducts, [&](const ProductRow& product) {
    return product.modelText == modelText && product.generation == generation;
  });
  return row == kProducts.end() ? ProductIdentity{} : row->identity;
}

}  // namespace Kvex::Lib
