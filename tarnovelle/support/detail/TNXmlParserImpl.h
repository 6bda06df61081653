// Inside of the XML document layer, over pugixml. Private to the library: it
// is neither installed nor part of the umbrella header.
//
// pugixml frees a node when it is removed from its parent and cannot hold a
// node outside the tree, while the DOM model of the layer has free-standing
// nodes (made by Create, not yet appended) and removed nodes that a node object
// may still refer to. Each parser document therefore keeps one hidden element,
// the "detached" element, as the first child of pugixml's document node:
// created, removed and replaced nodes live under it. It is skipped by every
// navigation, by counting, by the search and when the document is written.
#pragma once

#include <pugixml.hpp>

#include <cstdint>
#include <new>
#include <string>

#include "tarnovelle/support/TNHResult.h"
#include "tarnovelle/support/TNXmlParser.h"

struct TNXmlParseError {
    int32_t errorCode = 0;  // 0: the load found nothing wrong
    std::string url;
    std::string reason;
    int32_t line = 0;     // from 1; 0 when the error has no place in the text
    int32_t linepos = 0;  // from 1
};

struct TNXmlParserDocument {
    int32_t refs = 1;
    pugi::xml_document doc;
    pugi::xml_node detached;
    TNXmlParseError parseError;

    TNXmlParserDocument() { AddDetachedElement(); }
    // Loading replaces pugixml's whole tree; the hidden element comes back.
    void AddDetachedElement() { detached = doc.prepend_child(pugi::node_element); }
};

struct TNXmlParserNode {
    int32_t refs = 1;
    TNXmlParserDocument* owner = nullptr;  // holds a reference
    pugi::xml_node node;
};

namespace tnxml {

// A new node reference (count 1) to `node` of `owner`; null for no node.
TNXmlParserNode* MakeNode(TNXmlParserDocument* owner, pugi::xml_node node);
void AddRef(TNXmlParserNode* node);
void Release(TNXmlParserNode* node);

// Navigation of the DOM model: the hidden element and what lies under it
// are invisible, and a node under it has neither parent nor siblings.
pugi::xml_node Parent(const TNXmlParserDocument* owner, pugi::xml_node node);
pugi::xml_node FirstChild(const TNXmlParserDocument* owner, pugi::xml_node node);
pugi::xml_node NextSibling(const TNXmlParserDocument* owner, pugi::xml_node node);
pugi::xml_node PreviousSibling(const TNXmlParserDocument* owner, pugi::xml_node node);
int32_t ChildCount(const TNXmlParserDocument* owner, pugi::xml_node node);

// The DOM name: "#document", "#text", "#cdata-section", "#comment", "xml" for
// the prolog, the target of a processing instruction, the element's name.
std::string NodeName(pugi::xml_node node);
// The text of the node and all its descendants, in document order.
std::string NodeText(const TNXmlParserDocument* owner, pugi::xml_node node);
// Replaces the text: an element's children give way to one text node.
bool SetNodeText(TNXmlParserDocument* owner, pugi::xml_node node, const char* text);
// Takes `node` out of its parent into the hidden element.
void Detach(TNXmlParserDocument* owner, pugi::xml_node node);
// Whether pugixml's node has an attribute map in the DOM sense.
bool HasAttributes(pugi::xml_node node);
// An XML name as a DOM parser accepts it for a new element, attribute or
// processing instruction: not empty, no blanks or markup characters, no digit,
// '-' or '.' at the start.
bool IsXmlName(const char* name);

// Parses `size` bytes into a new document (count 1). A parse error is stored in
// its parseError with line and position counted in `bytes`; the tree is then
// empty. Null only when memory runs out.
TNXmlParserDocument* Parse(const char* bytes, size_t size, const std::string& url);
// The document's serial form: its top-level nodes as they stand, in UTF-8,
// or in Latin-1 when the prolog declares that.
std::string Serialize(const TNXmlParserDocument* owner);

// Runs `body`; what it throws becomes a failed result, since the layer must
// never throw.
template <class F>
HRESULT Guard(F&& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

}  // namespace tnxml
