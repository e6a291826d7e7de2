/// \file
/// HTTP exchanges with a server whose addresses the caller supplies. Each call
/// blocks its thread, sends "User-Agent: Orvek" and "Accept: */*", gives up
/// connecting after 15 seconds and fails a transfer once no byte has moved for
/// 60 seconds. Only a 2xx status counts as success; results are 1 or 0.
/// Only http:// and https:// URLs are requested: any other gives 0 before a
/// file or a connection is touched. Redirects are followed, up to 30 of them,
/// to http:// and https:// only. A response whose body length is ambiguous
/// (differing Content-Length values) fails. For https://, the environment's
/// CURL_CA_BUNDLE, or else SSL_CERT_FILE and SSL_CERT_DIR, name the
/// certificate authorities to trust.
#pragma once

#include "selvora/export.h"
#include "selvora/foundation/ov_string.h"
#include "selvora/kernel/matrix3d.h"

/// GET url; on a 2xx status *out becomes the body as text, taken in 1023-byte
/// slices each cut at its first NUL byte. On any other status *out is left as
/// it was. A 2xx transfer cut short leaves in *out what arrived and returns 0;
/// a null \p url or \p out returns 0.
SELVORA_API int OV_GetHtml(const char* url, OvString* out);

/// GET url and write the body to filePath, replacing the file only when the
/// whole body arrived (a failed transfer leaves an existing file as it was).
/// With a null filePath the body is not read. onlineUrl is the address named
/// when the machine has to be brought online first (a Linux machine always
/// counts as online). 1 on success, 0 on failure or a null \p url.
SELVORA_API int LoadSymbolInternet(char* onlineUrl, char* url, const char* filePath);

/// POST "1122334455" followed by the dataLength bytes of data to url, as
/// "multipart/form-data; boundary=1122334455" (the caller's block carries the
/// multipart framing); a 2xx answer of at least 128 bytes fills *result row by
/// row with 16 little-endian doubles. 1 then; 0, with *result untouched, on
/// any failure, a null \p url or \p result, a negative dataLength, or null
/// data with a positive length. onlineUrl is as for LoadSymbolInternet.
SELVORA_API int GetMatrixInternet(char* onlineUrl, char* url, unsigned char* data, int dataLength,
                                  Matrix3d* result);
