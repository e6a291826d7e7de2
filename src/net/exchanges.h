// The three exchanges behind the exported functions, under given conditions
// (the online check's view of the machine, the time limits). The exported
// functions call them with the default Conditions.
#pragma once

#include "net/http.h"
#include "selvora/foundation/ov_string.h"
#include "selvora/kernel/matrix3d.h"

namespace selvora {
namespace net {

// OV_GetHtml: the page fetch makes no online check.
int GetHtml(const char* url, OvString* out, const Conditions& conditions);
// LoadSymbolInternet.
int LoadSymbol(char* onlineUrl, char* url, const char* filePath, const Conditions& conditions);
// GetMatrixInternet.
int GetMatrix(char* onlineUrl, char* url, unsigned char* data, int dataLength, Matrix3d* result,
              const Conditions& conditions);

}  // namespace net
}  // namespace selvora
