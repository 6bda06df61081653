// The one exception type of a failed file operation. It carries the formatted
// text it was made with; like its base it reports no text through
// GetErrorMessage, because that text already went to the error log when the
// exception was raised (see TarnovelleThrowException).
#pragma once

#include <string>

#include "tarnovelle/support/CException.h"

class TNVL_EXPORT CTarnovelleException : public CException {
public:
    CTarnovelleException() = default;
    explicit CTarnovelleException(const std::string& message) : m_strMessage(message) {}

    const char* GetRuntimeClassName() const override;
    const char* what() const noexcept override;  // the text, for debuggers and tests

    const std::string& GetMessage() const { return m_strMessage; }

private:
    std::string m_strMessage;
};
