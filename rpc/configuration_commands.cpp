#include "rpc/configuration_commands.h"

#include <syslog.h>
#include <utility>

#include "core/log.h"
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

// What a commit keeps, whenever the power fails and whatever a call answers:
//
// 1. A block is whole in memory, compressed and with its checksum, before the first byte of its
//    partition changes. What cannot be rendered, compressed or fitted leaves the partition alone.
// 2. The partitions are written one after the other, a good block last: the backup first while the
//    primary holds a good block, otherwise the primary first. So one of the two is whole at any
//    moment, with the old settings or the new.
// 3. A write counts when the partition gives the very block back, and what fails is tried again
//    (storage/settings_block.cpp). Only then the second partition is touched. When the first fails
//    for good the second is written all the same: a partition that is worn out must not end all
//    saving, though a power failure during that write then finds no other block.
// 4. A start takes the primary, and the backup only when the primary holds no block. So beside a
//    new backup the primary is new or no block at all: one that held a good block and cannot be
//    written loses its header, which takes no more room than there is and a single erase block.
//
// Together: after an answer of 0 a start finds the new settings, whichever single call failed. When
// the flash of both partitions fails for good the old settings stay, and the answer is 0 as well:
// the log tells, not the result.

/// What became of one partition.
struct Half {
  Status rendered = CM_INVALID;
  Status stored = CM_INVALID;
};

Half write_half(const char* partition) {
  Half half;
  half.rendered = Status{CM_RAM2XML(partition, cml_root, &half.stored)};
  return half;
}

/// One line is enough when neither text could be built: the reason is the same.
void log_unrendered(const Half& primary, const Half& backup) {
  const bool no_primary = primary.rendered != CM_OK;
  const bool no_backup = backup.rendered != CM_OK;
  if (no_primary && no_backup)
    log_failed_rendering("flash");
  else if (no_primary || no_backup)
    log_failed_rendering(no_primary ? paths().primary_partition : paths().backup_partition);
}

/// Keeps the primary's old settings from coming back: the backup alone holds the new ones.
void retire_primary() {
  const bool retired = discard_settings_block(paths().primary_partition) == CM_OK;
  if (log_keeps_up())
    syslog(LOG_ERR, "%s %s", paths().primary_partition,
           retired ? "was emptied of its older settings: the backup serves"
                   : "keeps older settings: they come back at the next start");
}

/// Writes the live tree to both partitions. The second write tells.
Status write_both_partitions() {
  Half primary;
  Half backup;
  const bool was_good = static_cast<bool>(CM_UTL_GetMTDBlockSettings(paths().primary_partition));
  if (!was_good) primary = write_half(paths().primary_partition);
  backup = write_half(paths().backup_partition);
  if (was_good) primary = write_half(paths().primary_partition);
  log_unrendered(primary, backup);
  const Status result = was_good ? primary.rendered : backup.rendered;
  if (result == CM_OK && was_good && primary.stored != CM_OK && backup.stored == CM_OK)
    retire_primary();
  return result;
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
  if (const Status status = VT_CM_RAM2XML(&text, cml_root)) {
    log_failed_rendering(buf);
    return status;
  }
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
