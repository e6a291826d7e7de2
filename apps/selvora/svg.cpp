#include "svg.h"

#include <algorithm>
#include <cstdio>

namespace selvora_tool {

namespace {

constexpr double kScreenPixels = 800.0;  // the longer side

std::string Number(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", v == 0.0 ? 0.0 : v);  // no "-0"
    return text;
}

}  // namespace

std::string EscapeXml(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '&':
                out += "&amp;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

SvgPicture::SvgPicture(double minX, double minY, double maxX, double maxY) {
    size_ = std::max(maxX - minX, maxY - minY);
    if (!(size_ > 0.0)) size_ = 1.0;
    const double margin = 0.05 * size_;
    minX_ = minX - margin;
    minY_ = minY - margin;
    maxX_ = maxX + margin;
    maxY_ = maxY + margin;
}

std::string SvgPicture::Px(double pixels) const {
    return Number(pixels * std::max(maxX_ - minX_, maxY_ - minY_) / kScreenPixels);
}

void SvgPicture::Title(const std::string& text) {
    head_ += "  <title>" + EscapeXml(text) + "</title>\n";
}

void SvgPicture::Style(const std::string& css) {
    head_ += "  <style>\n" + EscapeXml(css) + "\n  </style>\n";
}

void SvgPicture::BeginGroup(const std::string& id) {
    body_ += "  <g id=\"" + EscapeXml(id) + "\">\n";
}

void SvgPicture::EndGroup() { body_ += "  </g>\n"; }

void SvgPicture::Polyline(const std::vector<PlanePoint>& points, const std::string& cls) {
    body_ += "    <polyline class=\"" + cls + "\" points=\"" + Coordinates(points) + "\"/>\n";
}

void SvgPicture::Polygon(const std::vector<PlanePoint>& points, const std::string& cls) {
    body_ += "    <polygon class=\"" + cls + "\" points=\"" + Coordinates(points) + "\"/>\n";
}

void SvgPicture::Segment(PlanePoint a, PlanePoint b, const std::string& cls) {
    body_ += "    <line class=\"" + cls + "\" x1=\"" + X(a.x) + "\" y1=\"" + Y(a.y) + "\" x2=\"" +
             X(b.x) + "\" y2=\"" + Y(b.y) + "\"/>\n";
}

void SvgPicture::Dot(PlanePoint p, const std::string& cls, double relativeRadius) {
    body_ += "    <circle class=\"" + cls + "\" cx=\"" + X(p.x) + "\" cy=\"" + Y(p.y) + "\" r=\"" +
             Number(relativeRadius * size_) + "\"/>\n";
}

void SvgPicture::Label(PlanePoint p, const std::string& text, const std::string& cls) {
    body_ += "    <text class=\"" + cls + "\" x=\"" + X(p.x) + "\" y=\"" + Y(p.y) +
             "\" font-size=\"" + Number(0.035 * size_) + "\">" + EscapeXml(text) + "</text>\n";
}

bool SvgPicture::Save(const std::string& path) const {
    const double width = maxX_ - minX_, height = maxY_ - minY_;
    const double scale = kScreenPixels / std::max(width, height);
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    text += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + Number(width * scale) +
            "\" height=\"" + Number(height * scale) + "\" viewBox=\"" + Number(minX_) + " " +
            Number(-maxY_) + " " + Number(width) + " " + Number(height) + "\">\n";
    text += head_;
    text += body_;
    text += "</svg>\n";

    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) return false;
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    return std::fclose(file) == 0 && written;
}

void SvgPicture::Bounds(const std::vector<PlanePoint>& points, double& minX, double& minY,
                        double& maxX, double& maxY) {
    if (points.empty()) {
        minX = minY = 0.0;
        maxX = maxY = 1.0;
        return;
    }
    minX = maxX = points[0].x;
    minY = maxY = points[0].y;
    for (const PlanePoint& p : points) {
        minX = std::min(minX, p.x);
        maxX = std::max(maxX, p.x);
        minY = std::min(minY, p.y);
        maxY = std::max(maxY, p.y);
    }
}

std::string SvgPicture::Coordinates(const std::vector<PlanePoint>& points) const {
    std::string text;
    for (const PlanePoint& p : points) {
        if (!text.empty()) text += ' ';
        text += X(p.x) + "," + Y(p.y);
    }
    return text;
}

std::string SvgPicture::X(double x) const { return Number(x); }
std::string SvgPicture::Y(double y) const { return Number(-y); }

}  // namespace selvora_tool
