#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/deleted_defaults.h"
#include "core/instance.h"
#include "core/path.h"
#include "core/value.h"
#include "tests/support/tree_builder.h"

using namespace gwconf;

namespace {

constexpr char kTree[] = R"(Gw.
  ANumberOfEntries = 2
  A.
    0.
      P = v
      Sub.
        B.
          0.
            Q = w
    1.
      P = v
      Sub.
        B.
          1.
            Q = w
    2. [2]
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0.
        URI =
  Foo10.
    R [8] = x
)";

void check(bool holds) {
  if (!holds) std::abort();
}

/// The path of a record that was found leads back to it.
template <typename Record, typename PathOf, typename Find>
void check_round_trip(const Record* record, PathOf path_of, Find find) {
  std::array<char, kPathBufferSize> path;
  Record* again = nullptr;
  check(path_of(record, path) == CM_OK && find(path.data(), &again) == CM_OK && again == record);
}

}  // namespace

/// Takes the first byte as an instance number and the others as a path through every operation that
/// is given one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
  if (size == 0 || size > kPathBufferSize + 8) return 0;
  const test::LiveTree tree{kTree};
  const std::int32_t number = static_cast<std::int8_t>(input[0]);
  std::string path{reinterpret_cast<const char*>(input + 1), size - 1};
  path.resize(std::strlen(path.c_str()));

  Node* node = nullptr;
  Parameter* param = nullptr;
  if (CM_CORE_GetObjNodeByUri(path, &node) == CM_OK)
    check_round_trip(node, CM_CORE_GetURIByObjNode, CM_CORE_GetObjNodeByUri);
  if (CM_CORE_GetParaNodeByUri(path, &param) == CM_OK)
    check_round_trip(param, CM_CORE_GetURIByParaNode, CM_CORE_GetParaNodeByUri);
  ignore(CM_CORE_SetValueByURI(path, "value"));
  ignore(CM_CORE_SetInstanceRWByURI(path, 1));

  std::string model = path;
  CM_CORE_GetModelUri(model.data());
  check(std::strlen(model.c_str()) <= path.size());
  if (path.size() < kPathBufferSize) {
    std::array<char, kPathBufferSize> list;
    std::memcpy(list.data(), path.c_str(), path.size() + 1);
    ignore(CM_CORE_GetInstanceList(list.data(), kPathBufferSize));
  }

  const Status added = CM_CORE_AddInstance(path, number);
  ignore(CM_CORE_InsertInstance(path, number));
  ignore(CM_CORE_AddInstance_Force(path, number));
  ignore(CM_CORE_InstanceReArrange(path, number, 0));
  ignore(CM_CORE_DelInstance(path, 1));
  ignore(CM_CORE_MergeDeletedInstances());
  ignore(CM_CORE_DelNode(path));
  check(added != CM_OK || (number >= 1 && path.ends_with('.')));
  return 0;
}
