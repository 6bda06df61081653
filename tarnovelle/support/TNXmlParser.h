// The parser under the XML document layer, seen from outside only as opaque
// handles. A TNXmlParserDocument is reference counted: a document object owns
// one reference, and every node object owns one to the document its node
// lives in, so a node stays usable after its document object was closed.
// GetDocument of EV_XMLDOMDocument hands a document out without a reference of
// its own; take one with TNXmlParserAddRef before passing it to Attach, which
// takes a reference over.
#pragma once

#include "tarnovelle/support/TNExport.h"

struct TNXmlParserDocument;  // the parser's document
struct TNXmlParserNode;      // one reference to a node of a parser document
struct TNXmlParseError;      // what the last load of a document found wrong

TNVL_EXPORT void TNXmlParserAddRef(TNXmlParserDocument* document);
// Drops one reference; the document goes away with its last one.
TNVL_EXPORT void TNXmlParserRelease(TNXmlParserDocument* document);
