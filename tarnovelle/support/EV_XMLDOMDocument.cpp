#include "tarnovelle/support/EV_XMLDOMDocument.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tarnovelle/support/CTNMessageBox.h"
#include "tarnovelle/support/TNTrace.h"
#include "tarnovelle/support/detail/TNXmlParserImpl.h"

using tnxml::Guard;

namespace {

// The living document objects. The original parser needed its component
// system started with the first document and stopped with the last; here
// nothing needs starting, and the count stays for its trace and for tests.
// Documents are made and destroyed on one thread at a time.
int32_t g_livingDocuments = 0;

// The bytes of the file at `path`; false when it cannot be read whole.
bool ReadWholeFile(const std::string& path, std::string& bytes) {
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file) return false;
    char buffer[65536];
    size_t got = 0;
    while ((got = std::fread(buffer, 1, sizeof(buffer), file.get())) > 0) bytes.append(buffer, got);
    return !std::ferror(file.get());
}

bool WriteWholeFile(const std::string& path, const std::string& bytes) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) return false;
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const bool closed = std::fclose(file) == 0;
    return written && closed;
}

// A document whose load failed before parsing, with the parser's own text.
TNXmlParserDocument* UnreadableDocument(const std::string& path, bool missing) {
    auto* document = new TNXmlParserDocument;
    document->parseError.errorCode = missing ? pugi::status_file_not_found : pugi::status_io_error;
    document->parseError.url = path;
    pugi::xml_parse_result result;
    result.status = missing ? pugi::status_file_not_found : pugi::status_io_error;
    document->parseError.reason = result.description();
    return document;
}

// Whether the indenting step leaves `node` as it is: without children, or
// with text only, which keeps its text on one line.
bool KeepsItsLine(pugi::xml_node node) {
    for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_pcdata && child.type() != pugi::node_cdata) return false;
    }
    return true;
}

// The indenting step of a formatted save, on a child of the document and all
// below it. A node gets an indent before each of its children and its own
// indent after the last; the children's whitespace is theirs to add, so the
// nodes can be taken in any order, and one list of pending nodes takes the
// place of a call per level, which a deep document would run off the stack.
// Every indent is the front part of one shared text of blanks rather than a
// copy of its own per level.
void FormatIndented(pugi::xml_node top) {
    std::vector<std::pair<pugi::xml_node, size_t>> pending{{top, 0}};
    std::string blanks = "\n";  // grows by four blanks a level, as deep as needed
    while (!pending.empty()) {
        auto [node, level] = pending.back();
        pending.pop_back();
        if (KeepsItsLine(node)) continue;
        const size_t outer = 1 + 4 * level;
        const size_t inner = outer + 4;
        if (blanks.size() < inner) blanks.resize(inner, ' ');
        for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
            node.insert_child_before(pugi::node_pcdata, child).set_value(blanks.data(), inner);
            pending.emplace_back(child, level + 1);
        }
        node.append_child(pugi::node_pcdata).set_value(blanks.data(), outer);
    }
}

// SetAttribute for a name the copy doesn't carry yet: the same checks, in
// the same order, but no search for an attribute of that name.
void AppendNewAttribute(EV_XMLDOMNode& copy, const std::string& name, const std::string& value) {
    TNXmlParserNode* made = copy.GetParserNode();
    if (!made || !EV_XMLDOMNode::IsValidName(name) || !EV_XMLDOMNode::IsValidAttrValue(value)) return;
    if (made->node.type() != pugi::node_element || !tnxml::IsXmlName(name.c_str())) return;
    made->node.append_attribute(name.c_str()).set_value(value.c_str());
}

// Sets the attributes of `node` on its fresh copy, in order, as SetAttribute
// would. Only a name that came before goes through SetAttribute itself (it
// replaces the earlier value); the others are appended without looking, so
// an element with many attributes costs no more than their number.
void CopyAttributes(pugi::xml_node node, EV_XMLDOMNode& copy) {
    std::unordered_set<std::string> seen;
    for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
        const std::string name = a.name();
        if (seen.insert(name).second) AppendNewAttribute(copy, name, a.value());
        else copy.SetAttribute(name, std::string(a.value()));
    }
}

// Makes `copy` of `node` (whose DOM name is `name`) in `temporary`, as yet
// without children: the text when there are no children, and the attributes.
void StartCopy(EV_XMLDOMDocument& temporary, const TNXmlParserDocument* owner, pugi::xml_node node,
               const std::string& name, EV_XMLDOMNode& copy) {
    std::string text;
    if (!tnxml::FirstChild(owner, node)) text = tnxml::NodeText(owner, node);
    copy.Create(temporary, name.c_str(), text.c_str(), nullptr);
    if (tnxml::HasAttributes(node)) CopyAttributes(node, copy);
}

// One open level of the copy below the top: a node's copy being built and
// the child of that node to be copied next (none when all are done).
struct CopyLevel {
    EV_XMLDOMNode copy;
    pugi::xml_node next;
};

// Copies what lies below `source` into its started copy `top`, depth first.
// A list of open levels takes the place of a call per level, which a deep
// document would run off the stack. All copies are made in `temporary`, so a
// finished copy is moved into its parent's copy rather than copied again at
// every level above. It goes in as soon as it is finished, before the next
// sibling, since a later text child replaces all earlier children.
void CopyChildren(EV_XMLDOMDocument& temporary, const TNXmlParserDocument* owner, pugi::xml_node source,
                  EV_XMLDOMNode& top) {
    std::vector<CopyLevel> open;
    pugi::xml_node topNext = tnxml::FirstChild(owner, source);
    for (;;) {
        EV_XMLDOMNode& copy = open.empty() ? top : open.back().copy;
        pugi::xml_node& next = open.empty() ? topNext : open.back().next;
        if (!next) {
            if (open.empty()) return;
            EV_XMLDOMNode finished = copy;
            open.pop_back();
            (open.empty() ? top : open.back().copy).AppendChild(finished);
            continue;
        }
        const pugi::xml_node child = next;
        next = child.next_sibling();
        const std::string name = tnxml::NodeName(child);
        if (name == "#text") {
            copy.SetText(tnxml::NodeText(owner, child));
            continue;
        }
        CopyLevel below{EV_XMLDOMNode(), tnxml::FirstChild(owner, child)};
        StartCopy(temporary, owner, child, name, below.copy);
        open.push_back(below);
    }
}

}  // namespace

EV_XMLDOMDocument::EV_XMLDOMDocument() {
    if (g_livingDocuments == 0) {
        // Nothing to start on this platform: it always succeeds.
        TNTrace("_______ COM erfolgreich initialisiert. [EV_XMLDOMDocument->Constructor]\n");
    }
    ++g_livingDocuments;
}

EV_XMLDOMDocument::~EV_XMLDOMDocument() {
    Close();
    if (--g_livingDocuments == 0) TNTrace("_______ COM deinitialisiert. [EV_XMLDOMDocument->Destructor]\n");
}

int32_t EV_XMLDOMDocument::GetLivingDocumentCount() { return g_livingDocuments; }

void EV_XMLDOMDocument::TakeDocument(TNXmlParserDocument* document) {
    TNXmlParserRelease(m_pDocument);
    m_pDocument = document;
}

HRESULT EV_XMLDOMDocument::New() {
    Close();
    auto* made = new (std::nothrow) TNXmlParserDocument;
    if (!made) {
        TNTrace("Fehler! Neues Dokument konnte nicht erzeugt werden. [EV_XMLDOMDocument->New]\n");
        return E_OUTOFMEMORY;
    }
    TakeDocument(made);
    TNTrace("_______ Neues Dokument erfolgreich erzeugt. [EV_XMLDOMDocument->New]\n");
    return S_OK;
}

HRESULT EV_XMLDOMDocument::Open(const std::string& path) {
    HRESULT hr = New();
    if (SUCCEEDED(hr)) hr = LoadDocumentAsync(path);
    if (FAILED(hr)) {
        TNTrace("Fehler! XML Dokument konnte nicht geoeffnet werden. [EV_XMLDOMDocument->Open]\n");
        return hr;
    }
    hr = Guard([&] {
        m_strFilePath = path;
        m_bFilePathKnown = true;
        return S_OK;
    });
    if (SUCCEEDED(hr)) TNTrace("_______ XML Dokument erfolgreich geoeffnet. [EV_XMLDOMDocument->Open]\n");
    return hr;
}

HRESULT EV_XMLDOMDocument::LoadDocumentAsync(const std::string& path) {
    if (!m_pDocument) return E_FAIL;
    // The parser loads synchronously: when the load returns it is complete,
    // and there is no ready state to wait for.
    return Guard([&] {
        std::string bytes;
        TNXmlParserDocument* loaded = nullptr;
        if (ReadWholeFile(path, bytes)) {
            loaded = tnxml::Parse(bytes.data(), bytes.size(), path);
        } else {
            FILE* probe = std::fopen(path.c_str(), "rb");
            loaded = UnreadableDocument(path, probe == nullptr);
            if (probe) std::fclose(probe);
        }
        if (!loaded) throw std::bad_alloc();
        TakeDocument(loaded);
        const TNXmlParseError& error = m_pDocument->parseError;
        if (error.errorCode == 0) return S_OK;
        TNTrace("Fehler! Ein FehlerCode != 0 wurde zurueckgegeben. [EV_XMLDOMDocument->LoadDocumentAsync]\n");
        const HRESULT reported = ReportError(&error);
        return FAILED(reported) ? reported : E_FAIL;
    });
}

HRESULT EV_XMLDOMDocument::Save(bool format) {
    if (!m_bFilePathKnown) {
        TNTrace("Fehler! Kein Filepath bekannt und kann daher nicht gespeichert werden. [EV_XMLDOMDocument->Save]\n");
        return E_FAIL;
    }
    // A copy: SaveAs remembers its argument.
    const std::string path = m_strFilePath;
    return SaveAs(path, format);
}

HRESULT EV_XMLDOMDocument::SaveAs(const std::string& path, bool format) {
    const HRESULT hr = Guard([&] {
        if (!m_pDocument) return E_FAIL;
        if (format) {
            pugi::xml_node root = m_pDocument->doc;
            for (pugi::xml_node child = tnxml::FirstChild(m_pDocument, root); child; child = child.next_sibling()) {
                FormatIndented(child);
            }
        }
        if (!WriteWholeFile(path, tnxml::Serialize(m_pDocument))) return E_FAIL;
        m_strFilePath = path;
        m_bFilePathKnown = true;
        return S_OK;
    });
    if (FAILED(hr)) TNTrace("Fehler! XML Dokument konnte nicht gespeichert werden. [EV_XMLDOMDocument->SaveAs]\n");
    else TNTrace("_______ XML Dokument erfolgreich gespeichert. [EV_XMLDOMDocument->SaveAs]\n");
    return hr;
}

HRESULT EV_XMLDOMDocument::Close() {
    TakeDocument(nullptr);
    m_bFilePathKnown = false;
    m_strFilePath.clear();
    TNTrace("_______ Dokument geschlossen (Speicher freigegeben). [EV_XMLDOMDocument->Close]\n");
    return S_OK;
}

HRESULT EV_XMLDOMDocument::PersistInMemory(std::vector<uint8_t>& bytes) const {
    const HRESULT hr = Guard([&] {
        if (!m_pDocument) return E_FAIL;
        const std::string serial = tnxml::Serialize(m_pDocument);
        bytes.assign(serial.begin(), serial.end());
        return S_OK;
    });
    if (FAILED(hr)) TNTrace("Fehler! PersistInMemory(). [EV_XMLDOMDocument->PersistInMemory]\n");
    return hr;
}

HRESULT EV_XMLDOMDocument::LoadInMemory(const std::vector<uint8_t>& bytes) {
    // The path fields are not touched: New would clear them, so keep them.
    const bool known = m_bFilePathKnown;
    std::string path;
    path.swap(m_strFilePath);
    HRESULT hr = New();
    m_bFilePathKnown = known;
    m_strFilePath.swap(path);
    if (SUCCEEDED(hr)) {
        hr = Guard([&] {
            TNXmlParserDocument* loaded =
                tnxml::Parse(reinterpret_cast<const char*>(bytes.data()), bytes.size(), std::string());
            if (!loaded) return E_OUTOFMEMORY;
            TakeDocument(loaded);
            return m_pDocument->parseError.errorCode == 0 ? S_OK : E_FAIL;
        });
    }
    if (FAILED(hr)) TNTrace("Fehler! LoadInMemory(). [EV_XMLDOMDocument->LoadInMemory]\n");
    return hr;
}

HRESULT EV_XMLDOMDocument::ReportError(const TNXmlParseError* error) {
    if (!error) {
        TNTrace("Fehler! Fehlerstatus konnte nicht gelesen werden. [EV_XMLDOMDocument->ReportError]\n");
        return E_FAIL;
    }
    return Guard([&] {
        std::string message = error->reason;
        if (error->line > 0) {
            const char* format = "\nError on line %d, position %d in \"%s\".\n";
            const int n = std::snprintf(nullptr, 0, format, error->line, error->linepos, error->url.c_str());
            if (n > 0) {
                std::string place(static_cast<size_t>(n), '\0');
                std::snprintf(place.data(), place.size() + 1, format, error->line, error->linepos,
                              error->url.c_str());
                message += place;
            }
        }
        CTNMessageBox::Show(message);
        return S_OK;
    });
}

int32_t EV_XMLDOMDocument::CloneTree(EV_XMLDOMNode& source, EV_XMLDOMNode& target) {
    if (!source.IsValid()) {
        TNTrace("Fehler! Sourcenode ist ein NullPointer! [EV_XMLDOMDocument->CloneTree]\n");
        return 1;
    }
    const HRESULT hr = Guard([&]() -> HRESULT {
        std::string name;
        source.GetName(name);
        if (name == "#document") {
            source.MoveToFirstChild();
            source.GetName(name);
            if (name == "xml") {
                source.MoveToNextSibling();
                source.GetName(name);
            }
        }
        if (name == "#text") return 0;

        // One temporary document holds the copy and every copy below it.
        EV_XMLDOMDocument temporary;
        temporary.New();
        // A reference of its own: `target` may be the very object `source`,
        // and making the copy releases what it referred to.
        const EV_XMLDOMNode held = source;
        const TNXmlParserNode* from = held.GetParserNode();
        StartCopy(temporary, from->owner, from->node, name, target);
        CopyChildren(temporary, from->owner, from->node, target);
        return 1;
    });
    // Out of memory on the way: what was copied so far stays, as with any
    // other step that didn't succeed.
    return hr == 0 ? 0 : 1;
}

HRESULT EV_XMLDOMDocument::GetDocument(TNXmlParserDocument*& document) const {
    if (!m_pDocument) return E_FAIL;
    document = m_pDocument;
    return S_OK;
}

HRESULT EV_XMLDOMDocument::GetRootNode(EV_XMLDOMNode& root) const {
    if (!m_pDocument) return E_FAIL;
    return Guard([&] {
        TNXmlParserNode* node = tnxml::MakeNode(m_pDocument, m_pDocument->doc);
        root = node;  // takes a reference of its own
        tnxml::Release(node);
        return S_OK;
    });
}

bool EV_XMLDOMDocument::IsValid() const { return m_pDocument != nullptr; }

HRESULT EV_XMLDOMDocument::AppendChild(EV_XMLDOMNode& node) {
    if (!m_pDocument || !node.IsValid()) return E_FAIL;
    return Guard([&] {
        EV_XMLDOMNode root;
        const HRESULT hr = GetRootNode(root);
        return FAILED(hr) ? hr : root.AppendChild(node);
    });
}

HRESULT EV_XMLDOMDocument::Attach(TNXmlParserDocument* document) {
    Close();
    m_pDocument = document;
    return S_OK;
}

HRESULT EV_XMLDOMDocument::FindFirstNode(const std::string& name, EV_XMLDOMNode& node) {
    m_nSearchCount = 0;
    m_nSearchTarget = 0;
    return FindNode(name, node);
}

HRESULT EV_XMLDOMDocument::FindNextNode(const std::string& name, EV_XMLDOMNode& node) {
    m_nSearchTarget = m_nSearchCount;
    m_nSearchCount = 0;
    return FindNode(name, node);
}

HRESULT EV_XMLDOMDocument::FindNode(const std::string& name, EV_XMLDOMNode& node) {
    if (!m_pDocument) return E_FAIL;
    return Guard([&] {
        // Depth first, parents before children, from the document node; each
        // visited node counts, and the first of the name behind the target
        // count is the one.
        std::vector<pugi::xml_node> pending{m_pDocument->doc};
        while (!pending.empty()) {
            pugi::xml_node current = pending.back();
            pending.pop_back();
            ++m_nSearchCount;
            if (m_nSearchCount > m_nSearchTarget && tnxml::NodeName(current) == name) {
                TNXmlParserNode* found = tnxml::MakeNode(m_pDocument, current);
                node = found;
                tnxml::Release(found);
                return S_OK;
            }
            const size_t mark = pending.size();
            for (pugi::xml_node child = tnxml::FirstChild(m_pDocument, current); child;
                 child = child.next_sibling()) {
                pending.push_back(child);
            }
            std::reverse(pending.begin() + static_cast<std::ptrdiff_t>(mark), pending.end());
        }
        return S_FALSE;
    });
}
