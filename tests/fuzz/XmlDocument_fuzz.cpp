// Arbitrary bytes through the XML document layer. Whatever parses is
// persisted, cloned into a second document, searched, saved indented and
// loaded again; none of it may crash, leak past the sanitizers or hang.
#include <stdlib.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tarnovelle/support/CTNMessageBox.h"
#include "tarnovelle/support/EV_XMLDOMDocument.h"

namespace {

// Each search stops after this many finds: every FindNextNode walks from the
// root again, so a long search would cost the square of the document.
constexpr int kMaxFinds = 32;

// A directory of its own, made with the first input and removed at exit,
// holding the one file every formatted save writes over.
class SaveFile {
public:
    SaveFile() {
        const char* base = getenv("TMPDIR");
        std::string pattern = std::string(base && *base ? base : "/tmp") + "/tnvl-xml-fuzz-XXXXXX";
        if (!mkdtemp(pattern.data())) {
            std::perror("mkdtemp");
            abort();
        }
        m_directory = pattern;
        m_path = m_directory + "/saved.xml";
    }
    ~SaveFile() {
        unlink(m_path.c_str());
        rmdir(m_directory.c_str());
    }
    const std::string& Path() const { return m_path; }

private:
    std::string m_directory;
    std::string m_path;
};

const std::string& SavePath() {
    static const SaveFile file;
    return file.Path();
}

void Search(EV_XMLDOMDocument& doc, const std::string& name) {
    EV_XMLDOMNode found;
    HRESULT hr = doc.FindFirstNode(name, found);
    for (int finds = 0; hr == S_OK && finds < kMaxFinds; ++finds) {
        std::string text;
        found.GetText(text);
        hr = doc.FindNextNode(name, found);
    }
}

void Exercise(const std::vector<uint8_t>& bytes) {
    EV_XMLDOMDocument doc;
    if (doc.LoadInMemory(bytes) != S_OK) return;
    std::vector<uint8_t> persisted;
    doc.PersistInMemory(persisted);

    EV_XMLDOMNode source;
    EV_XMLDOMNode copy;
    doc.GetRootNode(source);
    EV_XMLDOMDocument second;
    second.New();
    if (second.CloneTree(source, copy) == 1) second.AppendChild(copy);
    std::vector<uint8_t> cloned;
    second.PersistInMemory(cloned);

    // The clone moved the source to the document's element (or whatever
    // stands first after the prolog).
    std::string name;
    source.GetName(name);
    Search(doc, name);
    Search(doc, "#text");

    doc.SaveAs(SavePath(), true);
    EV_XMLDOMDocument reloaded;
    reloaded.Open(SavePath());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A parse error of the reload is shown as a message box: keep it quiet.
    std::vector<std::string> shown;
    CTNMessageBox::RerouteMessageBoxToLogArray(&shown);
    Exercise(std::vector<uint8_t>(data, data + size));
    CTNMessageBox::RerouteMessageBoxToLogArray(nullptr);
    return 0;
}
