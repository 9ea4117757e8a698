#include "rpc/configuration_commands.h"

#include <utility>

#include "core/paths.h"
#include "rpc/peer.h"
#include "rpc/request.h"
#include "storage/file.h"
#include "storage/settings_block.h"
#include "xml/loader.h"
#include "xml/merge.h"
#include "xml/writer.h"

namespace gwconf {

Node* cml_root_new = nullptr;
Node* cml_root_restore = nullptr;

namespace {

void release(Node** root) {
  ignore(CM_UTL_FreeNode(std::exchange(*root, nullptr)));
}

/// Writes the live tree to both partitions, a good block last: wherever the power fails, one of the
/// two is whole.
Status write_both_partitions() {
  const char* first = paths().primary_partition;
  const char* second = paths().backup_partition;
  if (CM_UTL_GetMTDBlockSettings(paths().primary_partition)) std::swap(first, second);
  static_cast<void>(CM_RAM2XML(first, cml_root));  // the second write tells
  return Status{CM_RAM2XML(second, cml_root)};
}

/// Whether a client's file can be read and is short enough.
Status check_restore_file(const char* path) {
  const FilePtr file = open_regular(path, "r");
  return file && CM_UTL_GetFileSize(file.get()) <= kDocumentMax ? CM_OK : CM_INVALID;
}

/// Loads a client's file into cml_root_restore.
Status load_restore_file(const char* path, const Peer& client) {
  const ActingFor acting{client};
  if (!acting) return CM_INVALID;
  if (const Status status = check_restore_file(path)) return status;
  return VT_CM_XMLFILE2RAM(cml_root_restore, path);
}

/// Loads the client's file, then builds a live tree of the defaults and lays the file over it.
Status restore_from(const char* path, const Peer& client) {
  cml_root_restore = new_node().release();
  if (!cml_root_restore) return CM_NO_MEMORY;
  if (const Status status = load_restore_file(path, client)) return status;

  release(&cml_root);
  cml_root_new = new_node().release();
  if (!cml_root_new) return CM_NO_MEMORY;
  if (const std::uint8_t result = CM_XML2RAM(cml_root_new, paths().defaults)) return Status{result};
  cml_root = std::exchange(cml_root_new, nullptr);
  return CM_Node_Merge2Root(cml_root_restore);
}

}  // namespace

Status CM_RPC_RPOCESS_Commit(int /*fd*/, char* /*buf*/) {
  return write_both_partitions();
}

Status CM_RPC_RPOCESS_Reset2Default(int /*fd*/, char* /*buf*/) {
  release(&cml_root);
  cml_root = new_node().release();
  if (!cml_root) return CM_INVALID;
  // Defaults that do not load leave what could be read of them, for the next reset to replace.
  static_cast<void>(CM_XML2RAM(cml_root, paths().defaults));
  return write_both_partitions();
}

Status CM_RPC_RPOCESS_SaveCfg(int fd, char* buf) {
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  OwnedText text;
  if (const Status status = VT_CM_RAM2XML(&text, cml_root)) return status;
  const ActingFor client{peer_of(fd)};
  std::FILE* file = client ? open_regular(buf, "w+").release() : nullptr;
  if (!file) return CM_INVALID;
  const std::size_t length = text.view().size() + 1;
  const bool fits = length <= static_cast<std::size_t>(kDocumentMax);
  const bool written = fits && std::fwrite(text.get(), 1, length, file) == length;
  const bool closed = std::fclose(file) == 0;
  return written && closed ? CM_OK : CM_INVALID;
}

Status CM_RPC_RPOCESS_Restore(int fd, char* buf) {
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  const Status status = restore_from(buf, peer_of(fd));
  release(&cml_root_new);
  release(&cml_root_restore);
  return status;
}

}  // namespace gwconf
