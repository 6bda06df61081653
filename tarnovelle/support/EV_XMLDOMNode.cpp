#include "tarnovelle/support/EV_XMLDOMNode.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "tarnovelle/support/EV_XMLDOMDocument.h"
#include "tarnovelle/support/TNTrace.h"
#include "tarnovelle/support/detail/TNXmlParserImpl.h"

using tnxml::Guard;

namespace {

pugi::xml_node_type ParserType(int32_t type) {
    switch (type) {
        case EV_XMLDOMNode::NODE_ELEMENT: return pugi::node_element;
        case EV_XMLDOMNode::NODE_TEXT: return pugi::node_pcdata;
        case EV_XMLDOMNode::NODE_CDATA_SECTION: return pugi::node_cdata;
        case EV_XMLDOMNode::NODE_PROCESSING_INSTRUCTION: return pugi::node_pi;
        case EV_XMLDOMNode::NODE_COMMENT: return pugi::node_comment;
        default: return pugi::node_null;
    }
}

// The attribute at `index` in document order, or none.
pugi::xml_attribute AttributeAt(pugi::xml_node node, int32_t index) {
    if (index < 0) return pugi::xml_attribute();
    pugi::xml_attribute attribute = node.first_attribute();
    for (int32_t i = 0; attribute && i < index; ++i) attribute = attribute.next_attribute();
    return attribute;
}

// Puts `child` (of any document) under `parent` before `before`, or last
// without `before`. A node of another document is copied; the copy is given
// back. A node of this document is moved.
pugi::xml_node InsertInto(TNXmlParserDocument* owner, pugi::xml_node parent, pugi::xml_node before,
                          const TNXmlParserNode* child) {
    if (child->owner == owner) {
        return before ? parent.insert_move_before(child->node, before) : parent.append_move(child->node);
    }
    return before ? parent.insert_copy_before(child->node, before) : parent.append_copy(child->node);
}

// Each further "name=value" text up to the null sets an attribute.
void SetAttributesFromList(EV_XMLDOMNode& node, va_list list) {
    for (const char* text = va_arg(list, const char*); text; text = va_arg(list, const char*)) {
        const char* equals = std::strchr(text, '=');
        const std::string name = equals ? std::string(text, equals) : std::string();
        // An empty name part (no "=" at all, or "=" first) ends the list, as
        // does a name that isn't valid.
        if (name.empty() || !EV_XMLDOMNode::IsValidName(name)) return;
        // A refused value is passed over and the list goes on.
        node.SetAttribute(name, std::string(equals + 1));
    }
}

}  // namespace

EV_XMLDOMNode::EV_XMLDOMNode() = default;

EV_XMLDOMNode::EV_XMLDOMNode(TNXmlParserNode* node) : m_pNode(node) { tnxml::AddRef(m_pNode); }

EV_XMLDOMNode::EV_XMLDOMNode(const EV_XMLDOMNode& other) : m_pNode(other.m_pNode), m_nType(other.m_nType) {
    tnxml::AddRef(m_pNode);
}

EV_XMLDOMNode& EV_XMLDOMNode::operator=(const EV_XMLDOMNode& other) {
    if (this != &other) {
        tnxml::AddRef(other.m_pNode);
        tnxml::Release(m_pNode);
        m_pNode = other.m_pNode;
        m_nType = other.m_nType;
    }
    return *this;
}

EV_XMLDOMNode& EV_XMLDOMNode::operator=(TNXmlParserNode* node) {
    tnxml::AddRef(node);
    TakeOver(node);
    return *this;
}

EV_XMLDOMNode::~EV_XMLDOMNode() { tnxml::Release(m_pNode); }

void EV_XMLDOMNode::TakeOver(TNXmlParserNode* node) {
    tnxml::Release(m_pNode);
    m_pNode = node;
    m_nType = NODE_ELEMENT;
}

HRESULT EV_XMLDOMNode::CreateNode(EV_XMLDOMDocument& document, const char* name, const char* value) {
    TNXmlParserDocument* owner = nullptr;
    if (!document.IsValid() || FAILED(document.GetDocument(owner))) {
        TNTrace("Fehler! Document ist ungueltig, daher kein Create moeglich. [EV_XMLDOMNode->Create]\n");
        return E_FAIL;
    }
    const std::string nameText = name ? name : "";
    const std::string valueText = value ? value : "";
    if (!IsValidName(nameText) || !IsValidValue(valueText)) return E_FAIL;

    const int32_t type = m_nType;
    tnxml::Release(m_pNode);
    m_pNode = nullptr;
    const pugi::xml_node_type parserType = ParserType(type);
    if (parserType == pugi::node_null) return E_FAIL;
    // Like the DOM's createNode, the parser wants a proper XML name for the
    // kinds of node that carry one.
    const bool named = parserType == pugi::node_element || parserType == pugi::node_pi;
    if (named && !tnxml::IsXmlName(nameText.c_str())) return E_FAIL;

    pugi::xml_node made = owner->detached.append_child(parserType);
    if (!made) return E_FAIL;
    if (named && !made.set_name(nameText.c_str())) {
        owner->detached.remove_child(made);
        return E_FAIL;
    }
    m_pNode = tnxml::MakeNode(owner, made);
    m_nType = type;
    if (!valueText.empty()) SetText(valueText);
    return S_OK;
}

HRESULT EV_XMLDOMNode::Create(EV_XMLDOMDocument& document, const char* name, const char* value, ...) {
    va_list list;
    va_start(list, value);
    const HRESULT hr = Guard([&] {
        const HRESULT made = CreateNode(document, name, value);
        if (SUCCEEDED(made)) SetAttributesFromList(*this, list);
        return made;
    });
    va_end(list);
    return hr;
}

HRESULT EV_XMLDOMNode::Create(EV_XMLDOMDocument& document, const char* name, const uint8_t* bytes,
                              int32_t count, ...) {
    va_list list;
    va_start(list, count);
    const HRESULT hr = Guard([&] {
        const HRESULT made = CreateNode(document, name, "");
        if (FAILED(made)) return made;
        if (count > 0) SetBytes(bytes, count);
        SetAttributesFromList(*this, list);
        return made;
    });
    va_end(list);
    return hr;
}

bool EV_XMLDOMNode::IsValidName(const std::string& name) {
    const bool valid = name.find_first_of(" <>") == std::string::npos &&
                       !(!name.empty() && name[0] >= '0' && name[0] <= '9');
    if (!valid) TNTraceText("Fehler! Kein gueltiger Name! <%s> [EV_XMLDOMNode->IsValidName]\n", name.c_str());
    return valid;
}

bool EV_XMLDOMNode::IsValidValue(const std::string& value) {
    const bool valid = value.find_first_of("<>") == std::string::npos;
    if (!valid) TNTraceText("Fehler! Kein gueltiger Value! <%s> [EV_XMLDOMNode->IsValidValue]\n", value.c_str());
    return valid;
}

bool EV_XMLDOMNode::IsValidAttrValue(const std::string& value) {
    const bool valid = value.find('"') == std::string::npos || value.find('\'') == std::string::npos;
    if (!valid) {
        TNTraceText("Fehler! Kein gueltiger Attribut Value! <%s> [EV_XMLDOMNode->IsValidAttrValue]\n",
                    value.c_str());
    }
    return valid;
}

bool EV_XMLDOMNode::IsValid() const { return m_pNode != nullptr; }

HRESULT EV_XMLDOMNode::GetName(std::string& name) const {
    if (!m_pNode) return E_FAIL;
    return Guard([&] {
        name = tnxml::NodeName(m_pNode->node);
        return S_OK;
    });
}

HRESULT EV_XMLDOMNode::GetText(std::string& text) const {
    if (!m_pNode) return E_FAIL;
    return Guard([&] {
        text = tnxml::NodeText(m_pNode->owner, m_pNode->node);
        return S_OK;
    });
}

HRESULT EV_XMLDOMNode::SetText(const std::string& text) {
    if (!m_pNode) return E_FAIL;
    // Through the C string: the stored text ends at a zero character.
    return tnxml::SetNodeText(m_pNode->owner, m_pNode->node, text.c_str()) ? S_OK : E_FAIL;
}

HRESULT EV_XMLDOMNode::GetChildCount(int32_t& count) const {
    if (!m_pNode) return E_FAIL;
    count = tnxml::ChildCount(m_pNode->owner, m_pNode->node);
    return S_OK;
}

HRESULT EV_XMLDOMNode::GetChild(int32_t index, EV_XMLDOMNode& child) const {
    if (!m_pNode || index < 0) return E_FAIL;
    pugi::xml_node found = tnxml::FirstChild(m_pNode->owner, m_pNode->node);
    for (int32_t i = 0; found && i < index; ++i) found = found.next_sibling();
    if (!found) return E_FAIL;
    return Guard([&] {
        child.TakeOver(tnxml::MakeNode(m_pNode->owner, found));
        return S_OK;
    });
}

HRESULT EV_XMLDOMNode::GetChildren(std::vector<EV_XMLDOMNode>& children) const {
    if (!m_pNode) return E_FAIL;
    EV_XMLDOMNode child = *this;
    if (child.MoveToFirstChild() != S_OK) return S_OK;
    do {
        children.push_back(child);
    } while (child.MoveToNextSibling() == S_OK);
    return S_OK;
}

std::vector<EV_XMLDOMNode> EV_XMLDOMNode::Children() const {
    std::vector<EV_XMLDOMNode> children;
    GetChildren(children);
    return children;
}

std::string EV_XMLDOMNode::Name() const {
    std::string name;
    GetName(name);
    return name;
}

HRESULT EV_XMLDOMNode::GetAttributeCount(int32_t& count) const {
    if (!m_pNode || !tnxml::HasAttributes(m_pNode->node)) return E_FAIL;
    int32_t n = 0;
    for (pugi::xml_attribute a = m_pNode->node.first_attribute(); a; a = a.next_attribute()) ++n;
    count = n;
    return S_OK;
}

HRESULT EV_XMLDOMNode::GetAttributeName(int32_t index, std::string& name) const {
    if (!m_pNode) return E_FAIL;
    pugi::xml_attribute attribute = AttributeAt(m_pNode->node, index);
    if (!attribute) return E_FAIL;
    return Guard([&] {
        name = attribute.name();
        return S_OK;
    });
}

HRESULT EV_XMLDOMNode::GetAttributeValue(int32_t index, std::string& value) const {
    if (!m_pNode) return E_FAIL;
    pugi::xml_attribute attribute = AttributeAt(m_pNode->node, index);
    if (!attribute) return E_FAIL;
    return Guard([&] {
        value = attribute.value();
        return S_OK;
    });
}

HRESULT EV_XMLDOMNode::GetAttribute(const std::string& name, std::string& value) const {
    if (!m_pNode || !tnxml::HasAttributes(m_pNode->node)) return E_FAIL;
    for (pugi::xml_attribute a = m_pNode->node.first_attribute(); a; a = a.next_attribute()) {
        if (name == a.name()) {
            return Guard([&] {
                value = a.value();
                return S_OK;
            });
        }
    }
    return S_FALSE;
}

HRESULT EV_XMLDOMNode::SetAttribute(const std::string& name, const std::string& value) {
    if (!m_pNode || !IsValidName(name) || !IsValidAttrValue(value)) return E_FAIL;
    pugi::xml_node node = m_pNode->node;
    if (node.type() != pugi::node_element || !tnxml::IsXmlName(name.c_str())) return E_FAIL;
    pugi::xml_attribute attribute = node.attribute(name.c_str());
    if (!attribute) attribute = node.append_attribute(name.c_str());
    return attribute && attribute.set_value(value.c_str()) ? S_OK : E_FAIL;
}

HRESULT EV_XMLDOMNode::SetAttribute(const std::string& name, int32_t value) {
    if (!m_pNode || !IsValidName(name)) return E_FAIL;
    pugi::xml_node node = m_pNode->node;
    if (node.type() != pugi::node_element || !tnxml::IsXmlName(name.c_str())) return E_FAIL;
    pugi::xml_attribute attribute = node.attribute(name.c_str());
    if (!attribute) attribute = node.append_attribute(name.c_str());
    return attribute && attribute.set_value(value) ? S_OK : E_FAIL;
}

HRESULT EV_XMLDOMNode::AppendChild(EV_XMLDOMNode& child) {
    if (!m_pNode || !child.m_pNode || child.m_pNode == m_pNode) return E_FAIL;
    return Guard([&] {
        pugi::xml_node placed = InsertInto(m_pNode->owner, m_pNode->node, pugi::xml_node(), child.m_pNode);
        if (!placed) return E_FAIL;
        if (child.m_pNode->owner != m_pNode->owner) {
            const int32_t type = child.m_nType;
            child.TakeOver(tnxml::MakeNode(m_pNode->owner, placed));
            child.m_nType = type;
        }
        return S_OK;
    });
}

HRESULT EV_XMLDOMNode::Remove() {
    if (!m_pNode) return E_FAIL;
    if (!tnxml::Parent(m_pNode->owner, m_pNode->node)) return E_FAIL;
    tnxml::Detach(m_pNode->owner, m_pNode->node);
    Release();
    return S_OK;
}

HRESULT EV_XMLDOMNode::ReplaceWith(EV_XMLDOMNode& node) {
    if (!m_pNode || !node.m_pNode) return E_FAIL;
    if (node.m_pNode->owner == m_pNode->owner && node.m_pNode->node == m_pNode->node) return S_OK;
    pugi::xml_node parent = tnxml::Parent(m_pNode->owner, m_pNode->node);
    if (!parent) return E_FAIL;
    return Guard([&] {
        pugi::xml_node placed = InsertInto(m_pNode->owner, parent, m_pNode->node, node.m_pNode);
        if (!placed) return E_FAIL;
        tnxml::Detach(m_pNode->owner, m_pNode->node);
        TNXmlParserNode* replacement = tnxml::MakeNode(m_pNode->owner, placed);
        if (node.m_pNode->owner != m_pNode->owner) {
            tnxml::AddRef(replacement);
            node.TakeOver(replacement);
        }
        TakeOver(replacement);
        return S_OK;
    });
}

HRESULT EV_XMLDOMNode::Clone(EV_XMLDOMNode& copy) const {
    if (!m_pNode) return E_FAIL;
    return Guard([&] {
        TNXmlParserDocument* owner = m_pNode->owner;
        pugi::xml_node source = m_pNode->node;
        if (source.type() == pugi::node_document) {
            // The copy of a document is a document of its own.
            auto* cloned = new TNXmlParserDocument;
            for (pugi::xml_node c = tnxml::FirstChild(owner, source); c; c = c.next_sibling()) {
                cloned->doc.append_copy(c);
            }
            copy.TakeOver(tnxml::MakeNode(cloned, cloned->doc));
            TNXmlParserRelease(cloned);
            return S_OK;
        }
        pugi::xml_node made = owner->detached.append_copy(source);
        if (!made) return E_FAIL;
        copy.TakeOver(tnxml::MakeNode(owner, made));
        return S_OK;
    });
}

namespace {
// Moves `node` to `target` if there is one: 0 moved, 1 nothing there. A node
// reference may be shared with copies of the moving object (through the
// constructor from a parser node), so a shared one is split off first.
HRESULT MoveTo(TNXmlParserNode*& node, pugi::xml_node target) {
    if (!target) return S_FALSE;
    if (node->refs > 1) {
        TNXmlParserNode* own = tnxml::MakeNode(node->owner, target);
        tnxml::Release(node);
        node = own;
    } else {
        node->node = target;
    }
    return S_OK;
}
}  // namespace

HRESULT EV_XMLDOMNode::MoveToFirstChild() {
    if (!m_pNode) return E_FAIL;
    pugi::xml_node target = tnxml::FirstChild(m_pNode->owner, m_pNode->node);
    return Guard([&] { return MoveTo(m_pNode, target); });
}

HRESULT EV_XMLDOMNode::MoveToParent() {
    if (!m_pNode) return E_FAIL;
    pugi::xml_node target = tnxml::Parent(m_pNode->owner, m_pNode->node);
    return Guard([&] { return MoveTo(m_pNode, target); });
}

HRESULT EV_XMLDOMNode::MoveToPreviousSibling() {
    if (!m_pNode) return E_FAIL;
    pugi::xml_node target = tnxml::PreviousSibling(m_pNode->owner, m_pNode->node);
    return Guard([&] { return MoveTo(m_pNode, target); });
}

HRESULT EV_XMLDOMNode::MoveToNextSibling() {
    if (!m_pNode) return E_FAIL;
    pugi::xml_node target = tnxml::NextSibling(m_pNode->owner, m_pNode->node);
    return Guard([&] { return MoveTo(m_pNode, target); });
}

HRESULT EV_XMLDOMNode::Release() {
    tnxml::Release(m_pNode);
    m_pNode = nullptr;
    return S_OK;
}

void EV_XMLDOMNode::SetType(int32_t type) { m_nType = type; }

HRESULT EV_XMLDOMNode::SetBytes(const uint8_t* bytes, int32_t count) {
    if (!m_pNode) return E_FAIL;
    return Guard([&] {
        // Three characters a byte: "%", then "%x" of the byte, which for a
        // byte below 16 is one digit and the terminating zero.
        std::string text;
        text.reserve(3 * static_cast<size_t>(count > 0 ? count : 0));
        for (int32_t i = 0; i < count; ++i) {
            char chunk[4];
            std::snprintf(chunk, sizeof(chunk), "%%%x", bytes[i]);
            text.append(chunk, 3);
        }
        return SetText(text);
    });
}

HRESULT EV_XMLDOMNode::SetBytes(const std::vector<uint8_t>& bytes) {
    return SetBytes(bytes.data(), static_cast<int32_t>(bytes.size()));
}

HRESULT EV_XMLDOMNode::GetBytes(std::vector<uint8_t>& bytes) const {
    std::string text;
    const HRESULT hr = GetText(text);
    if (FAILED(hr)) return hr;
    return Guard([&] {
        std::vector<uint8_t> read;
        read.reserve(text.size() / 3);
        for (size_t i = 0; i < text.size(); ++i) {
            if (text[i] == '%' && i + 2 < text.size()) {
                const char digits[3] = {text[i + 1], text[i + 2], '\0'};
                unsigned value = 0;
                std::sscanf(digits, "%x", &value);
                read.push_back(static_cast<uint8_t>(value));
                i += 2;
            } else {
                read.push_back(static_cast<uint8_t>(text[i]));
            }
        }
        bytes.swap(read);
        return S_OK;
    });
}
