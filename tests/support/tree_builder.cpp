#include "tests/support/tree_builder.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "tests/support/failing_heap.h"

namespace gwconf::test {
namespace {

constexpr std::size_t kIndent = 2;

void assign(OwnedText& text, std::string_view source) {
  if (!text.assign(source)) throw std::runtime_error("no memory for the tree of the test");
}

/// One line of an outline, taken apart.
struct Line {
  explicit Line(std::string_view text) {
    const std::size_t start = text.find_first_not_of(' ');
    level = start / kIndent;
    text.remove_prefix(start);
    const std::size_t equals = text.find(" =");
    if (equals != std::string_view::npos) {
      has_value = true;
      value = text.substr(equals + 2);
      if (value.starts_with(' ')) value.remove_prefix(1);
      text = text.substr(0, equals);
    }
    if (text.ends_with(']')) {
      const std::size_t bracket = text.rfind(" [");
      if (bracket == std::string_view::npos) throw std::runtime_error("bad attribute word");
      const std::string_view word = text.substr(bracket + 2);
      std::from_chars(word.data(), word.data() + word.size(), attributes);
      text = text.substr(0, bracket);
    }
    name = text;
  }

  std::size_t level = 0;
  std::string_view name;
  std::uint16_t attributes = 0;
  bool has_value = false;
  std::string_view value;
};

/// The outline's objects that lines further down may still belong to.
class Builder {
 public:
  void add(const Line& line) {
    if (line.level > open_.size()) throw std::runtime_error("line indented too far");
    open_.resize(line.level);
    if (line.name.ends_with('.'))
      add_object(line);
    else
      add_parameter(line);
  }

  NodePtr finish() { return std::move(root_); }

 private:
  void add_object(const Line& line) {
    NodePtr node = new_node();
    assign(node->name, line.name);
    node->attributes = line.attributes;
    if (open_.empty()) {
      if (root_) throw std::runtime_error("second root");
      open_.push_back(node.get());
      root_ = std::move(node);
      return;
    }
    node->parent = open_.back();
    Node** link = &open_.back()->children;
    while (*link)
      link = &(*link)->next;
    *link = node.release();
    open_.push_back(*link);
  }

  void add_parameter(const Line& line) {
    if (open_.empty()) throw std::runtime_error("parameter without object");
    ParameterPtr param = new_parameter();
    assign(param->name, line.name);
    param->attributes = line.attributes;
    if (line.has_value) assign(param->value, line.value);
    param->parent = open_.back();
    Parameter** link = &open_.back()->params;
    while (*link)
      link = &(*link)->next;
    *link = param.release();
  }

  NodePtr root_;
  std::vector<Node*> open_;
};

template <typename Record>
void append_head(std::string& text, const Record& record, std::size_t level) {
  text.append(level * kIndent, ' ').append(record.name ? record.name.get() : "<none>");
  if (record.attributes != 0) text.append(" [" + std::to_string(record.attributes) + "]");
}

void append_outline(std::string& text, const Node* node, std::size_t level) {
  append_head(text, *node, level);
  text += '\n';
  for (const Parameter* param = node->params; param; param = param->next) {
    append_head(text, *param, level + 1);
    if (param->value) {
      text += " =";
      if (*param->value.get()) text.append(" ").append(param->value.get());
    }
    text += '\n';
    if (param->parent != node) text.append("  (parameter linked to another object)\n");
  }
  for (const Node* child = node->children; child; child = child->next) {
    append_outline(text, child, level + 1);
    if (child->parent != node) text.append("  (object linked to another parent)\n");
  }
}

}  // namespace

NodePtr build_tree(std::string_view outline) {
  Builder builder;
  while (!outline.empty()) {
    const std::size_t end = outline.find('\n');
    const std::string_view text = outline.substr(0, end);
    if (text.find_first_not_of(' ') != std::string_view::npos) builder.add(Line{text});
    outline = end == std::string_view::npos ? std::string_view{} : outline.substr(end + 1);
  }
  return builder.finish();
}

NodePtr build_chain(std::size_t length, Node** last) {
  constexpr std::size_t kSegment = 200;
  NodePtr root = build_tree("R.");
  *last = root.get();
  for (std::size_t left = length - root->name.view().size(); left > 0;) {
    const std::size_t size = std::min(left, kSegment);
    NodePtr node = new_node();
    // A name like its parent's would be taken for the parent.
    const char letter = (*last)->name.view().starts_with('a') ? 'b' : 'a';
    assign(node->name, std::string(size - 1, letter) + '.');
    node->parent = *last;
    *last = (*last)->children = node.release();
    left -= size;
  }
  return root;
}

std::string outline_of(const Node* node) {
  std::string text;
  append_outline(text, node, 0);
  return text;
}

std::string children_of(const Node* node) {
  std::string names;
  for (const Node* child = node->children; child; child = child->next) {
    if (!names.empty()) names += ' ';
    names += child->name.c_str();
  }
  return names;
}

std::string children_of(std::string_view path) {
  return children_of(object_at(path));
}

Node* object_at(std::string_view path) {
  const std::string missing = "no object " + std::string{path};
  Node* node = nullptr;
  while (!path.empty()) {
    const std::string_view segment = path.substr(0, path.find('.') + 1);
    path.remove_prefix(segment.size());
    node = node ? node->children : cml_root;
    while (node && node->name.view() != segment)
      node = node->next;
    if (!node || segment.empty()) throw std::runtime_error(missing);
  }
  return node;
}

Parameter* parameter_at(std::string_view path) {
  const std::size_t leaf = path.rfind('.') + 1;
  Parameter* param = object_at(path.substr(0, leaf))->params;
  while (param && param->name.view() != path.substr(leaf))
    param = param->next;
  if (!param) throw std::runtime_error("no parameter " + std::string{path});
  return param;
}

std::string value_at(std::string_view path) {
  const Parameter* param = parameter_at(path);
  return param->value ? param->value.get() : "<none>";
}

LiveTree::LiveTree(std::string_view outline) {
  if (cml_root) throw std::runtime_error("a live tree is there already");
  cml_root = build_tree(outline).release();
}

LiveTree::~LiveTree() {
  ignore(CM_UTL_FreeNode(std::exchange(cml_root, nullptr)));
}

std::string live_outline() {
  return cml_root ? outline_of(cml_root) : "<none>";
}

std::size_t sweep_operation(std::string_view outline, const std::function<Status()>& operation,
                            const std::function<void(Status, const std::string&)>& check) {
  std::optional<LiveTree> tree;
  Status status = CM_OK;
  std::string after;
  return sweep_allocations([&] { tree.emplace(outline); },
                           [&] {
                             status = operation();
                             after = live_outline();
                             tree.reset();
                           },
                           [&] { check(status, after); });
}

}  // namespace gwconf::test
