// Wine's <crtdbg.h> and the report-file names of Microsoft's, which without
// the debug C runtime do nothing.
#pragma once
#include_next <crtdbg.h>

typedef void* _HFILE;
#define _CRTDBG_INVALID_HFILE ((_HFILE)(__int64)-1)
#define _CRTDBG_HFILE_ERROR ((_HFILE)(__int64)-2)
#define _CRTDBG_FILE_STDOUT ((_HFILE)(__int64)-4)
#define _CRTDBG_FILE_STDERR ((_HFILE)(__int64)-5)
#define _CRTDBG_REPORT_FILE ((_HFILE)(__int64)-6)
#ifndef _CrtSetReportFile
#define _CrtSetReportFile(type, file) ((_HFILE)0)
#endif
