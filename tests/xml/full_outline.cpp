#include "tests/xml/full_outline.h"

#include "platform/getters.h"

namespace gwconf::test {
namespace {

std::string text_of(const OwnedText& text) {
  return text ? text.get() : "<none>";
}

std::string word_of(std::uint16_t attributes) {
  return attributes == 0 ? "" : " [" + std::to_string(attributes) + "]";
}

std::string line_of(const Parameter& param, std::uint16_t attributes) {
  std::string line = text_of(param.name) + word_of(param.attributes & attributes) + " " +
                     std::to_string(param.type) + "(" + std::to_string(param.min) + ".." +
                     std::to_string(param.max) + ")";
  if (param.enumeration) line += " {" + text_of(param.enumeration) + "}";
  if (param.sname) line += " sname=" + text_of(param.sname);
  if (param.getter) line.append(" ").append(param.getter->name);
  if (param.value) line += " = " + text_of(param.value);
  return line;
}

void append(std::string& text, const Node* node, std::uint16_t attributes, std::size_t indent) {
  const auto add_line = [&text](std::size_t blanks, const std::string& line) {
    text.append(blanks, ' ').append(line).append("\n");
  };
  add_line(indent, text_of(node->name) + word_of(node->attributes & attributes) +
                       (node->sname ? " sname=" + text_of(node->sname) : ""));
  for (const Parameter* param = node->params; param; param = param->next) {
    add_line(indent + 2, line_of(*param, attributes));
    if (param->parent != node) add_line(indent + 2, "(parameter linked to another object)");
  }
  for (const Node* child = node->children; child; child = child->next) {
    append(text, child, attributes, indent + 2);
    if (child->parent != node) add_line(indent + 2, "(object linked to another parent)");
  }
}

}  // namespace

std::string full_outline_of(const Node* node, std::uint16_t attributes) {
  std::string text;
  append(text, node, attributes, 0);
  return text;
}

}  // namespace gwconf::test
