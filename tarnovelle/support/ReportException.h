// The one way to log an exception: "<run-time class> in '<operation>' =
// '<text>'", the text cut to 500 characters, under the category
// "CTarnovelleException" whatever the exception's class. Shows nothing to the
// user and does not take ownership of the exception.
#pragma once

#include <string>

#include "tarnovelle/support/CException.h"
#include "tarnovelle/support/TNExport.h"

TNVL_EXPORT void ReportException(const std::string& operation, CException* e);
