// The subcommands of the selvora tool. Each returns the process exit status:
// 0 on success, 1 after reporting the failure on stderr.
#pragma once

#include <string>
#include <vector>

namespace selvora_tool {

// Writes "selvora: <message>" and a newline to stderr; returns 1.
int Fail(const std::string& message);

int RunDemo(const std::string& outDir);
// checked: OV_doTessellationChecked instead of OV_doTessellation.
int RunTessellate(const std::string& polyPath, const std::string& svgPath, bool checked);
int RunRecords(const std::string& path, const std::vector<std::string>& classes, bool repeat);
// reader: "auto" (CImage::Load, by the name), "bmp" or "tif".
int RunImage(const std::string& path, const std::string& reader, const std::string& ppmPath);
int RunFetch(const std::string& url, const std::string& outPath);
int RunMatrix(const std::string& url, const std::string& dataPath);

}  // namespace selvora_tool
