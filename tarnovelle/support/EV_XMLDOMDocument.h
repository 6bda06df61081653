// An XML document of the XML document layer: the parser's document (or none)
// and the file it came from or went to. Every XML text the library owns is
// read and written through it.
//
// Loading is synchronous: Open returns when the file is parsed. A parse error
// is shown to the user through CTNMessageBox (so it can be rerouted into a log
// array): the parser's reason, and for an error with a place in the text
// "\nError on line %d, position %d in \"%s\".\n" with line, position and
// path; the result is then E_FAIL and the document is empty.
//
// SaveAs with the format flag first indents the tree in place: every element
// on a line of its own, four blanks a level, an element with text only on one
// line. Whitespace already in the document stays, so a document loaded and
// saved formatted again grows. The file is written as the tree stands, with
// no prolog added, in UTF-8 (Latin-1 for a document whose prolog declares it).
//
// Results are HRESULT-style (TNHResult.h); nothing here throws. Developer
// texts go to the trace sink (TNTrace.h).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tarnovelle/support/EV_XMLDOMNode.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/support/TNHResult.h"
#include "tarnovelle/support/TNXmlParser.h"

class TNVL_EXPORT EV_XMLDOMDocument {
public:
    EV_XMLDOMDocument();
    EV_XMLDOMDocument(const EV_XMLDOMDocument&) = delete;
    EV_XMLDOMDocument& operator=(const EV_XMLDOMDocument&) = delete;
    virtual ~EV_XMLDOMDocument();

    // Closes any document and makes an empty one; the path becomes unknown.
    HRESULT New();
    // New, then LoadDocumentAsync; the path is remembered on success only.
    HRESULT Open(const std::string& path);
    // Parses the file at `path` (UTF-8) into this document; E_FAIL without a
    // document. A parse error is reported (see above) and gives E_FAIL.
    HRESULT LoadDocumentAsync(const std::string& path);
    // SaveAs the remembered path; E_FAIL when no path is known.
    HRESULT Save(bool format);
    // Writes the document to `path`, indented first if `format`. On success
    // the path is remembered and the result is 0; on failure path and flag
    // stay as they were.
    HRESULT SaveAs(const std::string& path, bool format);
    // Releases the document; the path becomes unknown. Always 0.
    HRESULT Close();

    // The serial form of the document, as a file would hold it.
    HRESULT PersistInMemory(std::vector<uint8_t>& bytes) const;
    // New, then parses `bytes`. A parse error gives E_FAIL, without a report.
    HRESULT LoadInMemory(const std::vector<uint8_t>& bytes);

    // Shows the parse error to the user; 0, or E_FAIL without an error object.
    HRESULT ReportError(const TNXmlParseError* error);

    // Copies the tree of `source` into `target`, made anew in a document of
    // its own; append `target` where it belongs. A document node as source
    // stands for its element (the prolog is passed over) and is moved there.
    // 1 when copied (or nothing to copy); 0 when the source is a text node,
    // whose text the caller copies.
    int32_t CloneTree(EV_XMLDOMNode& source, EV_XMLDOMNode& target);

    // The parser's document without a reference of its own; E_FAIL if none.
    HRESULT GetDocument(TNXmlParserDocument*& document) const;
    // The node of the document itself, named "#document".
    HRESULT GetRootNode(EV_XMLDOMNode& root) const;
    bool IsValid() const;
    // Appends `node` at document level.
    HRESULT AppendChild(EV_XMLDOMNode& node);
    // Close, then takes over `document` and the reference that comes with it.
    HRESULT Attach(TNXmlParserDocument* document);

    // The search walks the tree from the document node, parents before
    // children, and finds the first node of `name` (FindFirstNode) or the
    // first one behind the last find (FindNextNode). 0 found, 1 not found,
    // E_FAIL without a document.
    HRESULT FindFirstNode(const std::string& name, EV_XMLDOMNode& node);
    HRESULT FindNextNode(const std::string& name, EV_XMLDOMNode& node);

    // How many document objects are alive in the process.
    static int32_t GetLivingDocumentCount();

private:
    HRESULT FindNode(const std::string& name, EV_XMLDOMNode& node);
    // Replaces the parser document by `document`, whose reference it takes.
    void TakeDocument(TNXmlParserDocument* document);

    bool m_bFilePathKnown = false;
    std::string m_strFilePath;
    TNXmlParserDocument* m_pDocument = nullptr;
    int32_t m_nSearchCount = 0;
    int32_t m_nSearchTarget = 0;
};

using CEV_XMLDOMDocument = EV_XMLDOMDocument;
