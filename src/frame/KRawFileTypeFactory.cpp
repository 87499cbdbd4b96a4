#include "frame/KRawFileTypeFactory.h"

#include <algorithm>
#include <iterator>

#include "frame/TypeTable.h"

namespace qzmtraw {

#define TYPE(index, Class, description, extension, category, group) class Class;
#include "frame/TypeTable.def"
#undef TYPE

namespace {

constexpr TypeRow kTypeTable[] = {
#define TYPE(index, Class, description, extension, category, group) \
  {index, #Class, description, extension, Category::k##category, Group::k##group, &Create<Class>},
#include "frame/TypeTable.def"
#undef TYPE
};

static_assert([] {
  std::int32_t expected = 0;
  return std::all_of(std::begin(kTypeTable), std::end(kTypeTable),
                     [&](const TypeRow& row) { return row.index == expected++; });
}());
static_assert(std::size(kTypeTable) == 320);

}  // namespace

std::int32_t KRawFileTypeFactory::GetTypeCount() { return std::int32_t{std::size(kTypeTable)}; }

IRawFileType* KRawFileTypeFactory::CreateType(std::int32_t index, std::int32_t* category, std::uint8_t* groupGuid) {
  if (index < 0 || index >= GetTypeCount()) return nullptr;
  const TypeRow& row = kTypeTable[index];
  if (category != nullptr) *category = static_cast<std::int32_t>(row.category);
  if (groupGuid != nullptr) std::copy(row.group.begin(), row.group.end(), groupGuid);
  return row.create(row);
}

}  // namespace qzmtraw

extern "C" qzmtraw::IRawFileTypeFactory* GetRawFileTypeFactory() {
  static qzmtraw::KRawFileTypeFactory factory;
  return &factory;
}
