#include "tests/xml/dom_support.h"

#include <pthread.h>
#include <stdexcept>
#include <string_view>

#include "platform/getters.h"

namespace gwconf::test {
namespace {

constexpr std::string_view kHeader = "<?xml version=\"1.0\"?>\n";

std::size_t countdown = 0;  // 0: nothing fails
bool has_fired = false;

bool dom_fails_now() {
  if (countdown == 0 || --countdown > 0) return false;
  has_fired = true;
  return true;
}

template <typename Record>
void append_tail(std::string& text, const Record& record) {
  if (record.attributes != 0) text += " word " + std::to_string(record.attributes);
  if (record.sname) text.append(" sname [").append(record.sname.get()).append("]");
}

void append_records(std::string& text, const Node* node, std::size_t level) {
  for (const Parameter* param = node->params; param; param = param->next) {
    text.append(level * 2, ' ').append(param->name ? param->name.get() : "<none>");
    if (param->value) text.append(" = [").append(param->value.get()).append("]");
    text += " type " + std::to_string(param->type);
    if (param->min != 0 || param->max != 0)
      text += " [" + std::to_string(param->min) + ":" + std::to_string(param->max) + "]";
    append_tail(text, *param);
    if (param->enumeration)
      text.append(" enumeration [").append(param->enumeration.get()).append("]");
    if (param->getter) text.append(" getter ").append(param->getter->name);
    if (param->parent != node) text += " (linked to another object)";
    text += '\n';
  }
  for (const Node* child = node->children; child; child = child->next) {
    text.append(level * 2, ' ').append(child->name ? child->name.get() : "<none>");
    append_tail(text, *child);
    if (child->parent != node) text += " (linked to another parent)";
    text += '\n';
    append_records(text, child, level + 1);
  }
}

}  // namespace

DocumentPtr parse_document(const std::string& text) {
  DocumentPtr document{ixmlParseBuffer(text.c_str())};
  if (!document) throw std::runtime_error("the library does not parse " + text);
  return document;
}

DocumentPtr empty_document() {
  return parse_document("<VANTREL_CML/>");
}

IXML_Node* root_of(const DocumentPtr& document) {
  return ixmlNode_getFirstChild(&document->n);
}

IXML_Element* root_element_of(const DocumentPtr& document) {
  return reinterpret_cast<IXML_Element*>(root_of(document));
}

std::string printed(const DocumentPtr& document) {
  const std::unique_ptr<char, void (*)(char*)> text{ixmlPrintDocument(document.get()),
                                                    ixmlFreeDOMString};
  std::string all = text.get();
  std::erase(all, '\r');
  if (!all.starts_with(kHeader)) throw std::runtime_error("no header: " + all);
  return all.substr(kHeader.size());
}

std::string describe(const Node* root) {
  std::string text;
  append_records(text, root, 0);
  return text;
}

FailingDom::FailingDom(std::size_t nth) {
  countdown = nth;
  has_fired = false;
}

FailingDom::~FailingDom() {
  countdown = 0;
}

bool FailingDom::fired() const {
  return has_fired;
}

void on_stack(std::size_t bytes, std::function<void()> action) {
  pthread_attr_t attributes;
  pthread_t thread;
  const auto run = [](void* given) -> void* {
    (*static_cast<std::function<void()>*>(given))();
    return nullptr;
  };
  if (pthread_attr_init(&attributes) != 0 || pthread_attr_setstacksize(&attributes, bytes) != 0 ||
      pthread_create(&thread, &attributes, run, &action) != 0)
    throw std::runtime_error("no thread with such a stack");
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

}  // namespace gwconf::test

// The test is linked so that the code under it calls these instead of the library's own.
extern "C" {

int __real_ixmlDocument_createElementEx(IXML_Document*, char*, IXML_Element**);
int __real_ixmlElement_setAttribute(IXML_Element*, char*, char*);
IXML_NamedNodeMap* __real_ixmlNode_getAttributes(IXML_Node*);
IXML_NodeList* __real_ixmlNode_getChildNodes(IXML_Node*);

int __wrap_ixmlDocument_createElementEx(IXML_Document* document, char* name,
                                        IXML_Element** element) {
  if (!gwconf::test::dom_fails_now())
    return __real_ixmlDocument_createElementEx(document, name, element);
  *element = nullptr;
  return IXML_INSUFFICIENT_MEMORY;
}

int __wrap_ixmlElement_setAttribute(IXML_Element* element, char* name, char* value) {
  if (!gwconf::test::dom_fails_now()) return __real_ixmlElement_setAttribute(element, name, value);
  return IXML_INSUFFICIENT_MEMORY;
}

IXML_NamedNodeMap* __wrap_ixmlNode_getAttributes(IXML_Node* node) {
  return gwconf::test::dom_fails_now() ? nullptr : __real_ixmlNode_getAttributes(node);
}

IXML_NodeList* __wrap_ixmlNode_getChildNodes(IXML_Node* node) {
  return gwconf::test::dom_fails_now() ? nullptr : __real_ixmlNode_getChildNodes(node);
}

}  // extern "C"
