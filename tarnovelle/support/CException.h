// The base of every exception the library throws. Exceptions are thrown by
// value and caught by reference. The boundary functions of the interface
// layer catch them all, so none reaches a caller of the function families;
// the exported classes of the layers below (the channel, the files, the file
// service) throw them to their callers.
#pragma once

#include <exception>

#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT CException : public std::exception {
public:
    CException() = default;
    ~CException() override;

    // Copies the exception's text into `buffer`, of `max` bytes including the
    // terminating zero, and says whether there was a text. The base has none:
    // the buffer is left empty and the answer is false.
    virtual bool GetErrorMessage(char* buffer, unsigned max) const;

    // The class name as the error log shows it.
    virtual const char* GetRuntimeClassName() const;

    const char* what() const noexcept override;

protected:
    // Copies `text` into `buffer` cut to `max - 1` characters.
    static bool CopyMessage(const char* text, char* buffer, unsigned max);
};
