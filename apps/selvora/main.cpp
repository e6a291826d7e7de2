// selvora: the library at work from the command line. Pictures of its
// end-to-end uses, inspection of geometry records, images and servers.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>

#include "commands.h"

namespace selvora_tool {

int Fail(const std::string& message) {
    std::fprintf(stderr, "selvora: %s\n", message.c_str());
    return 1;
}

}  // namespace selvora_tool

#ifdef _WIN32
#define SELVORA_LIBRARY_FILE "Selvora100_64.dll"
#else
#define SELVORA_LIBRARY_FILE "libSelvora100_64.so"
#endif

int main(int argc, char** argv) {
    using namespace selvora_tool;
    CLI::App app{
        "selvora: the Selvora geometry library at work.\n"
        "Draws its end-to-end uses, triangulates planar graphs, prints geometry records,\n"
        "loads images and talks to HTTP servers, all through " SELVORA_LIBRARY_FILE "."};
    app.name("selvora");
    app.require_subcommand(1, 1);
    app.fallthrough(false);
    // The same syntax on every platform: on Windows too, an argument starting
    // with '/' is a path (as in /tmp/file.bin), not an option.
    app.allow_windows_style_options(false);

    std::string demoDir = "selvora-demo";
    CLI::App* demo = app.add_subcommand(
        "demo",
        "Build, rotate, sample, save and load an arc; triangulate an outline with a hole.\n"
        "Prints each step and writes arc.svg, tessellation.svg, outline.poly and arc.rec.");
    demo->add_option("--out", demoDir, "Folder for the pictures and files (created if needed)")
        ->capture_default_str();

    std::string polyPath, polySvg, polySvgPositional;
    bool checked = false;
    CLI::App* tessellate = app.add_subcommand(
        "tessellate",
        "Triangulate a planar graph in the .poly format (vertices, segments, holes)\n"
        "through OV_getTessellationBuffer/OV_doTessellation; print the triangle count\n"
        "and draw the triangles with the segments highlighted. With --checked,\n"
        "OV_doTessellationChecked: also the vertices added where segments cross,\n"
        "counted and drawn, or the code of what it could not do.");
    tessellate->add_flag("--checked", checked,
                         "Use OV_doTessellationChecked, which never ends the process and hands "
                         "back the added vertices");
    tessellate->add_option("FILE.poly", polyPath, "The graph to triangulate")->required();
    CLI::Option* svgOption =
        tessellate->add_option("-o,--output", polySvg,
                               "SVG picture to write (default: the input's name with .svg, "
                               "in the current folder)");
    tessellate->add_option("OUT.svg", polySvgPositional, "The SVG picture, as -o names it")
        ->excludes(svgOption);

    std::string recordsPath;
    std::vector<std::string> recordClasses;
    bool repeat = false;
    CLI::App* records = app.add_subcommand(
        "records",
        "Read consecutive binary records with Load and print every field.\n"
        "Classes: GCurve (60 bytes), GLine (48), GArc (120), GCircle (72), GTriangle (72).");
    records->add_option("FILE", recordsPath, "The file of records")->required();
    records
        ->add_option("--as", recordClasses,
                     "The classes of the records, in file order, separated by commas")
        ->required()
        ->delimiter(',')
        ->check(CLI::IsMember({"GCurve", "GLine", "GArc", "GCircle", "GTriangle"}));
    records->add_flag("--repeat", repeat,
                      "Go through the classes again and again until the file ends");

    std::string imagePath, ppmPath, reader = "auto";
    CLI::App* image = app.add_subcommand(
        "image",
        "Load a BMP or TIFF file with CImage::Load (names ending in bmp or tif),\n"
        "print its width, height and type, and optionally write it as a binary PPM.");
    image->add_option("FILE", imagePath, "The image file")->required();
    image->add_option("-o,--output", ppmPath, "PPM file to write (rows top first)");
    image
        ->add_option("--reader", reader,
                     "auto: CImage::Load, which goes by the name; bmp or tif: that reader "
                     "(LoadBmp, LoadTif) whatever the name")
        ->capture_default_str()
        ->check(CLI::IsMember({"auto", "bmp", "tif"}));

    std::string fetchUrl, fetchOut;
    CLI::App* fetch =
        app.add_subcommand("fetch",
                           "GET a URL. Without -o the page is read with OV_GetHtml and printed;\n"
                           "with -o the body is downloaded to FILE with LoadSymbolInternet.");
    fetch->add_option("URL", fetchUrl, "http:// or https:// address")->required();
    fetch->add_option("-o,--output", fetchOut, "File to download the body to");

    std::string matrixUrl, matrixData;
    CLI::App* matrix = app.add_subcommand(
        "matrix",
        "POST the bytes of DATAFILE (after the boundary \"1122334455\") to URL with\n"
        "GetMatrixInternet and print the 4x4 matrix of the answer's first 128 bytes.");
    matrix->add_option("URL", matrixUrl, "http:// or https:// address")->required();
    matrix->add_option("DATAFILE", matrixData, "The multipart body to send")->required();

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& e) {
        return app.exit(e);  // the help of the command named, on stdout, status 0
    } catch (const CLI::ParseError& e) {
        if (app.get_subcommands().empty() && argc > 1 && argv[1][0] != '-') {
            return Fail(std::string("no subcommand ") + argv[1] + " (see selvora --help)");
        }
        std::string where = "selvora";
        for (const CLI::App* sub : app.get_subcommands()) where += " " + sub->get_name();
        return Fail(std::string(e.what()) + " (see " + where + " --help)");
    }

    if (*demo) return RunDemo(demoDir);
    if (*tessellate) {
        return RunTessellate(polyPath, polySvg.empty() ? polySvgPositional : polySvg, checked);
    }
    if (*records) return RunRecords(recordsPath, recordClasses, repeat);
    if (*image) return RunImage(imagePath, reader, ppmPath);
    if (*fetch) return RunFetch(fetchUrl, fetchOut);
    if (*matrix) return RunMatrix(matrixUrl, matrixData);
    return Fail("no subcommand");
}
