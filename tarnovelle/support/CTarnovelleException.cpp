#include "tarnovelle/support/CTarnovelleException.h"

const char* CTarnovelleException::GetRuntimeClassName() const { return "CTarnovelleException"; }

const char* CTarnovelleException::what() const noexcept { return m_strMessage.c_str(); }
