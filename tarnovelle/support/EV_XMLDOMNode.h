// One node of an XML document of the XML document layer: an owned reference
// to a parser node, or none. Copies share the node; a node keeps its document
// alive, so it stays usable after the document object was closed.
//
// Results are HRESULT-style (TNHResult.h): 0 success, 1 "nothing there" where
// an operation says so, negative failure; nothing here throws.
//
// Names and values are checked more strictly than XML asks, and differently:
//   IsValidName       false for a blank, "<" or ">" anywhere or a digit first
//                     (an empty name, "&" and quotation marks pass);
//   IsValidValue      false for "<" or ">";
//   IsValidAttrValue  false only for a text with both '"' and '\''.
// A name that passes these may still be refused by the parser when the node or
// attribute is made (it must be an XML name there).
//
// Nodes made by Create belong to the given document but hang nowhere until
// appended. Appending or putting in a node of another document copies it into
// this one, and the node object passed in then refers to the copy.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/support/TNHResult.h"
#include "tarnovelle/support/TNXmlParser.h"

class EV_XMLDOMDocument;

class TNVL_EXPORT EV_XMLDOMNode {
public:
    // Node types as the DOM numbers them; Create makes a node of the type set
    // by SetType.
    enum ENodeType : int32_t {
        NODE_ELEMENT = 1,
        NODE_TEXT = 3,
        NODE_CDATA_SECTION = 4,
        NODE_PROCESSING_INSTRUCTION = 7,
        NODE_COMMENT = 8,
    };

    EV_XMLDOMNode();
    // Takes a reference of its own to `node` (which may be null).
    explicit EV_XMLDOMNode(TNXmlParserNode* node);
    EV_XMLDOMNode(const EV_XMLDOMNode& other);
    EV_XMLDOMNode& operator=(const EV_XMLDOMNode& other);
    // Releases the old node, takes a reference to `node`, type back to 1.
    EV_XMLDOMNode& operator=(TNXmlParserNode* node);
    virtual ~EV_XMLDOMNode();

    // Makes a new node in `document` with `name` and, if not empty, `value` as
    // its text; then each further text "name=value" up to the terminating
    // null sets an attribute. The attribute step ends silently at a text whose
    // name part is empty or not valid; an attribute value that isn't valid is
    // skipped. E_FAIL without a valid document, for a name or value that isn't
    // valid, or when the parser refuses the node.
    HRESULT Create(EV_XMLDOMDocument& document, const char* name, const char* value, ...)
        __attribute__((sentinel));
    // The same with `count` bytes stored as text by SetBytes.
    HRESULT Create(EV_XMLDOMDocument& document, const char* name, const uint8_t* bytes,
                   int32_t count, ...) __attribute__((sentinel));

    static bool IsValidName(const std::string& name);
    static bool IsValidValue(const std::string& value);
    static bool IsValidAttrValue(const std::string& value);

    bool IsValid() const;
    HRESULT GetName(std::string& name) const;
    // The text of the node and all its descendants.
    HRESULT GetText(std::string& text) const;
    // Replaces the text; an element's children give way to the one text.
    HRESULT SetText(const std::string& text);

    HRESULT GetChildCount(int32_t& count) const;
    HRESULT GetChild(int32_t index, EV_XMLDOMNode& child) const;
    // Appends every child in document order, in one walk along the siblings
    // (a GetChild per index would walk from the first child every time).
    // E_FAIL without a node.
    HRESULT GetChildren(std::vector<EV_XMLDOMNode>& children) const;
    // The same as values, for readers that walk a document: empty without a
    // node.
    std::vector<EV_XMLDOMNode> Children() const;
    std::string Name() const;

    HRESULT GetAttributeCount(int32_t& count) const;
    HRESULT GetAttributeName(int32_t index, std::string& name) const;
    HRESULT GetAttributeValue(int32_t index, std::string& value) const;
    // 0 found, 1 not found (`value` untouched), E_FAIL without a node. Names
    // compare exactly, case counting; the first in document order wins.
    HRESULT GetAttribute(const std::string& name, std::string& value) const;
    // Sets or replaces an attribute; a new one goes after the others.
    HRESULT SetAttribute(const std::string& name, const std::string& value);
    HRESULT SetAttribute(const std::string& name, int32_t value);

    // Inserts `child` after the last child.
    HRESULT AppendChild(EV_XMLDOMNode& child);
    // Takes this node out of its parent and drops the reference.
    HRESULT Remove();
    // `node` takes this node's place in the parent; this object then refers
    // to `node`.
    HRESULT ReplaceWith(EV_XMLDOMNode& node);
    // A deep copy, hanging nowhere.
    HRESULT Clone(EV_XMLDOMNode& copy) const;

    // 0 moved, 1 nothing there (the object stays), E_FAIL without a node.
    HRESULT MoveToFirstChild();
    HRESULT MoveToParent();
    HRESULT MoveToPreviousSibling();
    HRESULT MoveToNextSibling();

    HRESULT Release();
    void SetType(int32_t type);

    // A byte array as text: each byte as "%" and "%x" of the byte. A byte below
    // 16 gives one digit and a zero character, where the stored text ends.
    HRESULT SetBytes(const uint8_t* bytes, int32_t count);
    HRESULT SetBytes(const std::vector<uint8_t>& bytes);
    // Reads such a text back: "%" with the two characters after it through
    // "%x", every other character as it stands.
    HRESULT GetBytes(std::vector<uint8_t>& bytes) const;

    // The parser node, without a reference of its own (null when none).
    TNXmlParserNode* GetParserNode() const { return m_pNode; }

private:
    HRESULT CreateNode(EV_XMLDOMDocument& document, const char* name, const char* value);
    // Takes over `node`, which carries a reference already.
    void TakeOver(TNXmlParserNode* node);

    TNXmlParserNode* m_pNode = nullptr;
    int32_t m_nType = NODE_ELEMENT;
};

using CEV_XMLDOMNode = EV_XMLDOMNode;
