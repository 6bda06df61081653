// Signed 32-bit results in the manner of the original platform's HRESULT:
// zero and positive values are successes (1 usually means "nothing there"),
// negative values are failures. The XML document layer reports through them.
#pragma once

#include <cstdint>

using HRESULT = int32_t;

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);

constexpr bool FAILED(HRESULT hr) { return hr < 0; }
constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
