#include <iostream>

#include "storage/settings_block.h"
#include "tools/base/failure.h"
#include "tools/base/files.h"
#include "tools/offline/block_report.h"
#include "tools/offline/daemon_terms.h"
#include "tools/offline/source.h"
#include "tools/offline/text.h"
#include "tools/offline/tree_diff.h"
#include "tools/offline/verbs.h"

// Settings blocks in files and partition dumps. What follows a block does not matter.

namespace gwconf::tool {
namespace {

constexpr const char* kBlockFileHelp = "A block, or a dump that begins with one";

[[nodiscard]] Exit exit_of(const BlockImage& image) {
  return image.failure() ? Exit::kFindings : Exit::kDone;
}

// --- block info

struct InfoOptions {
  std::string file;
};

[[nodiscard]] Exit info(const Session& session, const InfoOptions& options) {
  const BlockImage image{options.file};
  if (session.output.json())
    session.output.document(json_of(image));
  else
    print_block(session.output, image);
  return exit_of(image);
}

void add_info(VerbList& verbs) {
  std::shared_ptr<InfoOptions> options;
  CLI::App* verb = verbs.add("info", "Print the header and what is wrong with the block",
                             "gwctl block info mtd9.bin", info, &options);
  verb->add_option("FILE", options->file, kBlockFileHelp)->required();
}

// --- block verify

struct VerifyOptions {
  std::vector<std::string> files;
};

/// A file that cannot be read does not keep the others from being verified.
[[nodiscard]] Exit verify(const Session& session, const VerifyOptions& options) {
  Exit exit = Exit::kDone;
  Json rows = Json::array();
  for (const std::string& file : options.files) {
    try {
      const BlockImage image{file};
      exit = worse(exit, exit_of(image));
      rows.push_back(json_of(image));
      if (!session.output.json())
        session.output.line(harmless(file) + ": " + harmless(validity_of(image)));
    } catch (const Failure& failure) {
      session.output.complaint("block verify", failure.what());
      rows.push_back({{"file", file}, {"error", failure.what()}});
      exit = worse(exit, failure.exit());
    }
  }
  if (session.output.json()) session.output.document(rows);
  return exit;
}

void add_verify(VerbList& verbs) {
  std::shared_ptr<VerifyOptions> options;
  CLI::App* verb = verbs.add("verify", "Say whether blocks are valid",
                             "gwctl block verify mtd9.bin", verify, &options);
  verb->add_option("FILE", options->files, "Blocks, or dumps that begin with one")->required();
}

// --- block unpack

struct UnpackOptions {
  std::string file;
  std::string output;  ///< empty for standard output
};

[[nodiscard]] Exit unpack(const Session& session, const UnpackOptions& options) {
  const BlockImage image{options.file};
  if (!image.is_intact()) throw refused(options.file, validity_of(image));
  const bool to_file = !options.output.empty();
  if (to_file) write_file(options.output, image.text(), Privacy::kOwner);
  if (session.output.json()) {
    Json document = json_of(image);
    document[to_file ? "output" : "xml"] = to_file ? options.output : image.text();
    session.output.document(document);
  } else if (!to_file) {
    std::cout << image.text();
  }
  return Exit::kDone;
}

void add_unpack(VerbList& verbs) {
  std::shared_ptr<UnpackOptions> options;
  CLI::App* verb = verbs.add("unpack", "Write the settings in a block as XML",
                             "gwctl block unpack mtd9.bin -o settings.xml", unpack, &options);
  verb->add_option("FILE", options->file, kBlockFileHelp)->required();
  verb->add_option("-o,--output", options->output, "The file to write (else standard output)");
}

// --- block pack

struct PackOptions {
  std::string file;
  std::string output;
  std::uint32_t carried = 0;
};

/// The settings to pack. Throws Failure for a text that the daemon would not load.
[[nodiscard]] std::string loadable_text(const std::string& file) {
  FileContent content = read_file(file, kDocumentBytesMax + 1);
  if (content.size > kDocumentBytesMax)
    throw refused(file, "has " + std::to_string(content.size) +
                            " bytes; a block holds no more than " +
                            std::to_string(kDocumentBytesMax));
  if (content.bytes.find('\0') != std::string::npos)
    throw refused(file, "is no XML: it holds a NUL byte");
  const std::string objection = loading_objection(content.bytes);
  if (!objection.empty()) throw refused(file, "the daemon would not load it: " + objection);
  return std::move(content.bytes);
}

/// Writes a new block in one step: nothing is written when that fails.
void write_block(const PackOptions& options, const std::string& text) {
  NewFile target{options.output, Privacy::kOwner};
  switch (write_settings_file(target.path().c_str(), text, options.carried)) {
    case CM_OK:
      return target.keep();
    case CM_INVALID:
      throw refused(options.file,
                    "its block would have more than " + std::to_string(block::kSizeMax) + " bytes");
    case CM_NOT_WRITTEN:
      throw wrong_file(options.output, "cannot be written");
    default:
      throw std::bad_alloc{};
  }
}

[[nodiscard]] Exit pack(const Session& session, const PackOptions& options) {
  write_block(options, loadable_text(options.file));
  const BlockImage image{options.output};
  if (session.output.json())
    session.output.document(json_of(image));
  else
    session.output.line(harmless(options.output) + ": " + std::to_string(image.file_size()) +
                        " of " + counted(block::kSizeMax, "byte"));
  return Exit::kDone;
}

void add_pack(VerbList& verbs) {
  std::shared_ptr<PackOptions> options;
  CLI::App* verb = verbs.add("pack", "Make a block from settings in XML",
                             "gwctl block pack settings.xml -o mtd9.bin", pack, &options);
  verb->add_option("FILE", options->file, "The settings")->required();
  verb->add_option("-o,--output", options->output, "The block to write")->required();
  verb->add_option("--carried", options->carried,
                   "The word that is carried from block to block (else 0)");
}

// --- block diff

struct BlockDiffOptions {
  std::string one;
  std::string other;
};

[[nodiscard]] BlockImage valid_block(const std::string& file) {
  BlockImage image{file};
  if (image.failure()) throw refused(file, validity_of(image));
  return image;
}

/// Compares the carried words and the settings of two blocks.
[[nodiscard]] Exit diff_blocks(const Session& session, const BlockDiffOptions& options) {
  const BlockImage one = valid_block(options.one);
  const BlockImage other = valid_block(options.other);
  std::vector<Difference> differences;
  if (one.header().carried_word != other.header().carried_word)
    differences.push_back({Difference::Kind::kChanged,
                           "carried word",
                           {},
                           std::to_string(one.header().carried_word),
                           std::to_string(other.header().carried_word)});
  const LoadedTree one_tree = load_tree(options.one, one.text());
  const LoadedTree other_tree = load_tree(options.other, other.text());
  compare(one_tree, other_tree, {}, &differences);
  return report(session, differences);
}

void add_block_diff(VerbList& verbs) {
  std::shared_ptr<BlockDiffOptions> options;
  CLI::App* verb = verbs.add("diff", "Compare two blocks", "gwctl block diff mtd9.bin mtd10.bin",
                             diff_blocks, &options);
  verb->add_option("A", options->one, "One block")->required();
  verb->add_option("B", options->other, "The other block")->required();
}

}  // namespace

void add_block(VerbList& verbs) {
  VerbList block =
      verbs.add_group("block", "Look into settings blocks and partition dumps, and make them",
                      "gwctl block verify mtd9.bin mtd10.bin");
  add_info(block);
  add_verify(block);
  add_unpack(block);
  add_pack(block);
  add_block_diff(block);
}

}  // namespace gwconf::tool
