#include "tarnovelle/support/detail/TNXmlParserImpl.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <strings.h>

void TNXmlParserAddRef(TNXmlParserDocument* document) {
    if (document) ++document->refs;
}

void TNXmlParserRelease(TNXmlParserDocument* document) {
    if (document && --document->refs == 0) delete document;
}

namespace tnxml {

namespace {

// Whitespace-only text is kept as it stands, so that a document keeps its
// indentation through a load and a save; the prolog, processing instructions,
// comments and the document type are kept too.
constexpr unsigned kParseFlags = pugi::parse_default | pugi::parse_declaration | pugi::parse_pi |
                                 pugi::parse_comments | pugi::parse_doctype | pugi::parse_ws_pcdata;

struct StringWriter final : pugi::xml_writer {
    std::string& out;
    explicit StringWriter(std::string& target) : out(target) {}
    void write(const void* data, size_t size) override {
        out.append(static_cast<const char*>(data), size);
    }
};

bool IsDetached(const TNXmlParserDocument* owner, pugi::xml_node node) {
    return node == owner->detached;
}

bool IsTextNode(pugi::xml_node node) {
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

// The node after `node` in document order that is not below it, staying
// below `top`; none past the last.
pugi::xml_node NextNotBelow(pugi::xml_node top, pugi::xml_node node) {
    for (; node != top; node = node.parent()) {
        if (pugi::xml_node sibling = node.next_sibling()) return sibling;
    }
    return pugi::xml_node();
}

// The texts below `top` in document order, through elements only. The walk
// follows the tree's own links instead of calling itself per level, so a
// deep document doesn't run it off the stack.
void AppendText(const TNXmlParserDocument* owner, pugi::xml_node top, std::string& out) {
    pugi::xml_node node = top.first_child();
    while (node) {
        if (!IsDetached(owner, node)) {
            if (IsTextNode(node)) {
                out += node.value();
            } else if (node.type() == pugi::node_element && node.first_child()) {
                node = node.first_child();
                continue;
            }
        }
        node = NextNotBelow(top, node);
    }
}

// The bytes written must agree with the prolog they carry: a document that
// declares Latin-1 (which the parser honours on load) is written in Latin-1,
// every other one in UTF-8, so that a save and a load give the same texts.
pugi::xml_encoding DeclaredEncoding(const TNXmlParserDocument* owner) {
    for (pugi::xml_node child = FirstChild(owner, owner->doc); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_declaration) continue;
        const char* declared = child.attribute("encoding").value();
        for (const char* latin1 : {"ISO-8859-1", "latin1"}) {
            if (::strcasecmp(declared, latin1) == 0) return pugi::encoding_latin1;
        }
        break;
    }
    return pugi::encoding_utf8;
}

}  // namespace

TNXmlParserNode* MakeNode(TNXmlParserDocument* owner, pugi::xml_node node) {
    if (!owner || !node) return nullptr;
    auto* made = new TNXmlParserNode;
    made->owner = owner;
    made->node = node;
    TNXmlParserAddRef(owner);
    return made;
}

void AddRef(TNXmlParserNode* node) {
    if (node) ++node->refs;
}

void Release(TNXmlParserNode* node) {
    if (!node || --node->refs > 0) return;
    TNXmlParserRelease(node->owner);
    delete node;
}

pugi::xml_node Parent(const TNXmlParserDocument* owner, pugi::xml_node node) {
    pugi::xml_node parent = node.parent();
    return IsDetached(owner, parent) ? pugi::xml_node() : parent;
}

pugi::xml_node FirstChild(const TNXmlParserDocument* owner, pugi::xml_node node) {
    pugi::xml_node child = node.first_child();
    return IsDetached(owner, child) ? child.next_sibling() : child;
}

pugi::xml_node NextSibling(const TNXmlParserDocument* owner, pugi::xml_node node) {
    if (IsDetached(owner, node.parent())) return pugi::xml_node();
    return node.next_sibling();
}

pugi::xml_node PreviousSibling(const TNXmlParserDocument* owner, pugi::xml_node node) {
    if (IsDetached(owner, node.parent())) return pugi::xml_node();
    pugi::xml_node previous = node.previous_sibling();
    return IsDetached(owner, previous) ? pugi::xml_node() : previous;
}

int32_t ChildCount(const TNXmlParserDocument* owner, pugi::xml_node node) {
    int32_t count = 0;
    for (pugi::xml_node child = FirstChild(owner, node); child; child = child.next_sibling()) ++count;
    return count;
}

std::string NodeName(pugi::xml_node node) {
    switch (node.type()) {
        case pugi::node_document: return "#document";
        case pugi::node_pcdata: return "#text";
        case pugi::node_cdata: return "#cdata-section";
        case pugi::node_comment: return "#comment";
        case pugi::node_declaration: return "xml";
        default: return node.name();
    }
}

std::string NodeText(const TNXmlParserDocument* owner, pugi::xml_node node) {
    switch (node.type()) {
        case pugi::node_element:
        case pugi::node_document: {
            std::string text;
            AppendText(owner, node, text);
            return text;
        }
        case pugi::node_declaration: return std::string();
        default: return node.value();
    }
}

bool SetNodeText(TNXmlParserDocument* owner, pugi::xml_node node, const char* text) {
    switch (node.type()) {
        case pugi::node_element: {
            while (pugi::xml_node child = node.first_child()) Detach(owner, child);
            if (*text == '\0') return true;
            return node.append_child(pugi::node_pcdata).set_value(text);
        }
        case pugi::node_pcdata:
        case pugi::node_cdata:
        case pugi::node_comment:
        case pugi::node_pi: return node.set_value(text);
        default: return false;
    }
}

void Detach(TNXmlParserDocument* owner, pugi::xml_node node) {
    owner->detached.append_move(node);
}

bool HasAttributes(pugi::xml_node node) {
    return node.type() == pugi::node_element || node.type() == pugi::node_declaration;
}

bool IsXmlName(const char* name) {
    if (!name || *name == '\0') return false;
    const auto first = static_cast<unsigned char>(*name);
    if (!(std::isalpha(first) || first == '_' || first == ':' || first >= 0x80)) return false;
    for (const char* p = name + 1; *p; ++p) {
        const auto c = static_cast<unsigned char>(*p);
        if (!(std::isalnum(c) || c == '_' || c == ':' || c == '-' || c == '.' || c >= 0x80)) return false;
    }
    return true;
}

TNXmlParserDocument* Parse(const char* bytes, size_t size, const std::string& url) {
    auto* parsed = new (std::nothrow) TNXmlParserDocument;
    if (!parsed) return nullptr;
    const pugi::xml_parse_result result = parsed->doc.load_buffer(bytes, size, kParseFlags);
    if (result) {
        parsed->AddDetachedElement();
        return parsed;
    }
    TNXmlParseError& error = parsed->parseError;
    error.errorCode = static_cast<int32_t>(result.status);
    error.url = url;
    error.reason = result.description();
    // The parser gives an offset; the report wants line and column, both from 1.
    const size_t offset = std::min(static_cast<size_t>(std::max<ptrdiff_t>(result.offset, 0)), size);
    const char* end = bytes + offset;
    const char* lineStart = bytes;
    int32_t line = 1;
    for (const char* p = bytes; p < end; ++p) {
        if (*p == '\n') {
            ++line;
            lineStart = p + 1;
        }
    }
    error.line = line;
    error.linepos = static_cast<int32_t>(end - lineStart) + 1;
    // A document that did not parse is empty, as after New.
    parsed->doc.reset();
    parsed->AddDetachedElement();
    return parsed;
}

std::string Serialize(const TNXmlParserDocument* owner) {
    std::string out;
    StringWriter writer(out);
    const pugi::xml_encoding encoding = DeclaredEncoding(owner);
    for (pugi::xml_node child = FirstChild(owner, owner->doc); child; child = child.next_sibling()) {
        child.print(writer, "", pugi::format_raw, encoding);
    }
    return out;
}

}  // namespace tnxml
