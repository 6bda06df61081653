#include "tarnovelle/interfaces/internal/TNFrame.h"

#include <new>
#include <string>

#include "tarnovelle/support/ReportException.h"
#include "tarnovelle/support/CException.h"
#include "tarnovelle/support/CMemoryException.h"

namespace {

// A standard-library exception seen as the platform's exception, with the
// standard library's text.
class CStandardException final : public CException {
public:
    explicit CStandardException(const char* text) : m_text(text ? text : "") {}
    bool GetErrorMessage(char* buffer, unsigned max) const override { return CopyMessage(m_text.c_str(), buffer, max); }

private:
    std::string m_text;
};

// Reports the exception being handled. Reporting itself may fail (no memory,
// an error log that cannot be written); that failure is dropped, because
// nothing may leave a boundary function and the result code still tells the
// caller what happened.
void ReportCurrentException(const char* function) {
    try {
        throw;
    } catch (CException& e) {
        ReportException(function, &e);
    } catch (const std::bad_alloc&) {
        CMemoryException e;
        ReportException(function, &e);
    } catch (const std::exception& s) {
        CStandardException e(s.what());
        ReportException(function, &e);
    } catch (...) {
        CException e;
        ReportException(function, &e);
    }
}

}  // namespace

ETarnovelleErrors TNReportCurrentException(const char* function) {
    try {
        ReportCurrentException(function);
    } catch (...) {
    }
    return TNE_FAILED;
}
