// A small SVG writer for plane drawings: world coordinates in, y pointing up.
#pragma once

#include <string>
#include <vector>

namespace selvora_tool {

struct PlanePoint {
    double x;
    double y;
};

// Elements are written in the order they are added, grouped by Begin/End
// pairs. The longer side of the drawing is 800 pixels on screen; Px converts
// screen pixels to drawing units for stroke widths in styles.
class SvgPicture {
  public:
    // The drawing shows the box [minX, maxX] x [minY, maxY] with a margin.
    SvgPicture(double minX, double minY, double maxX, double maxY);

    std::string Px(double pixels) const;

    void Title(const std::string& text);
    void Style(const std::string& css);
    void BeginGroup(const std::string& id);
    void EndGroup();
    void Polyline(const std::vector<PlanePoint>& points, const std::string& cls);
    void Polygon(const std::vector<PlanePoint>& points, const std::string& cls);
    void Segment(PlanePoint a, PlanePoint b, const std::string& cls);
    // A dot whose radius is a fraction of the drawing's size.
    void Dot(PlanePoint p, const std::string& cls, double relativeRadius = 0.006);
    void Label(PlanePoint p, const std::string& text, const std::string& cls);

    // False when the file cannot be written completely.
    bool Save(const std::string& path) const;

    // The box around points, never empty: a lone point gets a unit box.
    static void Bounds(const std::vector<PlanePoint>& points, double& minX, double& minY,
                       double& maxX, double& maxY);

  private:
    std::string Coordinates(const std::vector<PlanePoint>& points) const;
    std::string X(double x) const;
    std::string Y(double y) const;  // flipped: SVG's y points down

    double minX_, minY_, maxX_, maxY_, size_;
    std::string head_;
    std::string body_;
};

std::string EscapeXml(const std::string& text);

}  // namespace selvora_tool
