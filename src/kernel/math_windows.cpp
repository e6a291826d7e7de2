// The trigonometric functions from the C runtime DLL, looked up once.
#include <windows.h>

#include <cmath>

#include "kernel/math.h"

namespace selvora {
namespace math {

namespace {

using Unary = double (*)(double);
using Binary = double (*)(double, double);

template <class F>
F Lookup(HMODULE crt, const char* name, F fallback) {
    FARPROC found = crt ? GetProcAddress(crt, name) : nullptr;
    // Through a generic function pointer: FARPROC has another signature.
    return found ? reinterpret_cast<F>(reinterpret_cast<void (*)()>(found)) : fallback;
}

struct Runtime {
    Runtime() {
        HMODULE crt = GetModuleHandleW(L"msvcrt.dll");
        if (!crt) crt = LoadLibraryW(L"msvcrt.dll");
        sin = Lookup<Unary>(crt, "sin", [](double x) { return std::sin(x); });
        cos = Lookup<Unary>(crt, "cos", [](double x) { return std::cos(x); });
        acos = Lookup<Unary>(crt, "acos", [](double x) { return std::acos(x); });
        atan = Lookup<Unary>(crt, "atan", [](double x) { return std::atan(x); });
        atan2 = Lookup<Binary>(crt, "atan2", [](double y, double x) { return std::atan2(y, x); });
    }
    Unary sin, cos, acos, atan;
    Binary atan2;
};

const Runtime& Crt() {
    static const Runtime runtime;
    return runtime;
}

}  // namespace

double Sin(double x) { return Crt().sin(x); }
double Cos(double x) { return Crt().cos(x); }
double Acos(double x) { return Crt().acos(x); }
double Atan(double x) { return Crt().atan(x); }
double Atan2(double y, double x) { return Crt().atan2(y, x); }

}  // namespace math
}  // namespace selvora
