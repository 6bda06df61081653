// The frame every exported function passes through: a null handle gives
// TNE_NO_OBJECT before anything else is touched; every exception ends here.
// A CException (std::exception and anything else are treated as one) is
// logged through ReportException under the function's own name and gives
// TNE_FAILED. The few functions with the typed clause turn a
// CTarnovelleException into their own result without logging it, so a disk or
// lock failure while storing reaches the caller as a code and leaves the log
// alone.
#pragma once

#include "tarnovelle/support/CTarnovelleException.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/ETarnovelleErrors.h"

// Classifies and reports the exception being handled; call only inside a
// catch block. Returns TNE_FAILED.
TNVL_EXPORT ETarnovelleErrors TNReportCurrentException(const char* function);

// A const char* argument as a string; null reads as empty.
inline const char* TNFrameText(const char* text) { return text ? text : ""; }

template <class Handle, class Body>
ETarnovelleErrors TNFrameCall(const char* function, Handle* handle, Body&& body) {
    if (!handle) return TNE_NO_OBJECT;
    try {
        return body();
    } catch (...) {
        return TNReportCurrentException(function);
    }
}

template <class Handle, class Body>
ETarnovelleErrors TNFrameCallTyped(const char* function, Handle* handle, ETarnovelleErrors typedResult, Body&& body) {
    if (!handle) return TNE_NO_OBJECT;
    try {
        return body();
    } catch (const CTarnovelleException&) {
        return typedResult;
    } catch (...) {
        return TNReportCurrentException(function);
    }
}
