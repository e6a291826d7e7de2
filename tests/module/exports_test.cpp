// The library's binary interface: the exported names are there under their
// own names, and the internals stay hidden.
#include <gtest/gtest.h>
#ifdef _WIN32
#include <windows.h>

#include <string>
#include <vector>
#else
#include <dlfcn.h>
#endif

namespace {

// The library loaded once more, by its file name (SELVORA_LIBRARY_PATH), and
// looked into by symbol name: the DLL's export table, or the shared object's
// dynamic symbols.
class Exports : public ::testing::Test {
  protected:
#ifdef _WIN32
    void SetUp() override {
        library_ = LoadLibraryA(SELVORA_LIBRARY_PATH);
        ASSERT_NE(library_, nullptr) << "LoadLibrary: error " << GetLastError();
    }
    void TearDown() override {
        if (library_) FreeLibrary(library_);
    }
    bool Has(const char* symbol) { return GetProcAddress(library_, symbol) != nullptr; }
    HMODULE library_ = nullptr;
#else
    void SetUp() override {
        handle_ = dlopen(SELVORA_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(handle_, nullptr) << dlerror();
    }
    void TearDown() override {
        if (handle_) dlclose(handle_);
    }
    bool Has(const char* symbol) { return dlsym(handle_, symbol) != nullptr; }
    void* handle_ = nullptr;
#endif
};

// Each exported name as the platform's C++ ABI spells it: the Itanium ABI's
// on Linux, Microsoft's decorated names on Windows (what a client built with
// Microsoft's compiler links against).
#ifdef _WIN32
#define SELVORA_NAME(itanium, microsoft) microsoft
#else
#define SELVORA_NAME(itanium, microsoft) itanium
#endif

TEST_F(Exports, FreeFunctionsAreExported) {
    EXPECT_TRUE(Has(SELVORA_NAME("_Z8OV_angle7Point3dS_", "?OV_angle@@YANVPoint3d@@0@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_Z7ListAddP4LISTPv", "?ListAdd@@YAPEAULIST@@PEAU1@PEAX@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_Z9ListCountP4LIST", "?ListCount@@YAHPEAULIST@@@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_Z9ListMergeP4LISTS0_", "?ListMerge@@YAPEAULIST@@PEAU1@0@Z")));
    EXPECT_TRUE(
        Has(SELVORA_NAME("_Z13ListDuplicateP4LIST", "?ListDuplicate@@YAPEAULIST@@PEAU1@@Z")));
    EXPECT_TRUE(
        Has(SELVORA_NAME("_Z10ListRemoveP4LISTPv", "?ListRemove@@YAPEAULIST@@PEAU1@PEAX@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_Z11ListDestroyP4LIST", "?ListDestroy@@YAXPEAULIST@@@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_Zmld8Vector3d", "??D@YA?AVVector3d@@NV0@@Z")));
}

TEST_F(Exports, MembersAreExported) {
    EXPECT_TRUE(Has(SELVORA_NAME("_ZN8Matrix3d7inverseEv", "?inverse@Matrix3d@@QEAA?AV1@XZ")));
    EXPECT_TRUE(Has(SELVORA_NAME("_ZN8Matrix3d14setCoordSystemE7Point3d8Vector3dS1_",
                                 "?setCoordSystem@Matrix3d@@QEAA?AV1@VPoint3d@@VVector3d@@1@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_ZN8Vector3d9normalizeEv", "?normalize@Vector3d@@QEAANXZ")));
    EXPECT_TRUE(Has(SELVORA_NAME("_ZN7Point3d5roundEd", "?round@Point3d@@QEAAXN@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_ZN8OvString6FormatEPKcz", "?Format@OvString@@QEAAXPEBDZZ")));
    EXPECT_TRUE(
        Has(SELVORA_NAME("_ZN13OvStringArray8RemoveAtEii", "?RemoveAt@OvStringArray@@QEAAXHH@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_ZN7OvColor3setEfff", "?set@OvColor@@QEAAAEAV1@MMM@Z")));
}

TEST_F(Exports, InlineHotPathsAreExportedToo) {
    EXPECT_TRUE(Has(SELVORA_NAME("_ZNK8Matrix3dmlES_", "??DMatrix3d@@QEBA?AV0@V0@@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_Zml8Matrix3d7Point3d", "??D@YA?AVPoint3d@@VMatrix3d@@V0@@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_Zml8Matrix3d8Vector3d", "??D@YA?AVVector3d@@VMatrix3d@@V0@@Z")));
}

TEST_F(Exports, TessellationIsExported) {
    EXPECT_TRUE(Has(SELVORA_NAME("_Z24OV_getTessellationBufferPPdPPiS2_S0_",
                                 "?OV_getTessellationBuffer@@YAXPEAPEANPEAPEAH10@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_Z17OV_doTessellationiii", "?OV_doTessellation@@YAHHHH@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_Z24OV_doTessellationCheckediiiPi",
                                 "?OV_doTessellationChecked@@YAHHHHPEAH@Z")));
}

// The shapes of the names a client's linker looks for: constructors, an
// operator, a destructor, a virtual member and a virtual table. (The
// interface has no static data member to show.)
TEST_F(Exports, ClassEntitiesAreExportedUnderTheirAbiNames) {
    EXPECT_TRUE(Has(SELVORA_NAME("_ZN7Point3dC1Eddd", "??0Point3d@@QEAA@NNN@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_ZN8Matrix3dC1Ev", "??0Matrix3d@@QEAA@XZ")));
    EXPECT_TRUE(Has(SELVORA_NAME("_ZNK7Point3deqES_", "??8Point3d@@QEBAHV0@@Z")));
    EXPECT_TRUE(Has(SELVORA_NAME("_ZN4LineD1Ev", "??1Line@@UEAA@XZ")));
    EXPECT_TRUE(Has(SELVORA_NAME("_ZN4Line4copyEv", "?copy@Line@@UEAAPEAVGeometry@@XZ")));
    EXPECT_TRUE(Has(SELVORA_NAME("_ZTV4Line", "??_7Line@@6B@")));
    // The caller's CArray in the name is MFC's class template CArray<Line*, Line*>.
    EXPECT_TRUE(Has(SELVORA_NAME("_ZN4Line14ProjectedUnionER6CArrayIPS_S1_E",
                                 "?ProjectedUnion@Line@@QEAANAEAV?$CArray@PEAVLine@@PEAV1@@@@Z")));
}

TEST_F(Exports, TheTriangulatorCompiledInIsHidden) {
    for (const char* name :
         {"triangulate", "trifree", "triexit", "internalerror", "trimalloc", "finddirection",
          "counterclockwise", "insertsegment", "selvora_triangulate"}) {
        EXPECT_FALSE(Has(name)) << name;
    }
}

TEST_F(Exports, InternalsAreHidden) {
    EXPECT_FALSE(Has(
        SELVORA_NAME("_ZN7selvora12FormatBufferEv", "?FormatBuffer@selvora@@YAAEAVOvString@@XZ")));
    EXPECT_FALSE(Has(
        SELVORA_NAME("_ZN7selvora7BuffersEv", "?Buffers@selvora@@YAAEBUTessellationBuffers@1@XZ")));
#ifndef _WIN32
    // Linux has no _stricmp of its own: the library's stays inside.
    EXPECT_FALSE(Has("_ZN7selvora8_stricmpEPKcS1_"));
#endif
    EXPECT_FALSE(
        Has(SELVORA_NAME("_ZN7selvora14ShowMessageBoxEPKc", "?ShowMessageBox@selvora@@YAXPEBD@Z")));
}

#ifdef _WIN32
// The DLL's version resource, which Windows shows in the file's properties.
TEST(VersionResource, NamesTheProductAndItsVersion) {
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeA(SELVORA_LIBRARY_PATH, &ignored);
    ASSERT_GT(size, 0u) << "no version resource: error " << GetLastError();
    std::vector<char> data(size);
    ASSERT_TRUE(GetFileVersionInfoA(SELVORA_LIBRARY_PATH, 0, size, data.data()));
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueA(data.data(), "\\", reinterpret_cast<void**>(&fixed), &length));
    EXPECT_EQ(static_cast<DWORD>(MAKELONG(SELVORA_VERSION_MINOR, SELVORA_VERSION_MAJOR)),
              fixed->dwFileVersionMS);
    EXPECT_EQ(static_cast<DWORD>(MAKELONG(0, SELVORA_VERSION_PATCH)), fixed->dwFileVersionLS);
    EXPECT_EQ(fixed->dwFileVersionMS, fixed->dwProductVersionMS);
    EXPECT_EQ(static_cast<DWORD>(VFT_DLL), fixed->dwFileType);
    const auto text = [&](const char* name) {
        char* value = nullptr;
        const std::string path = std::string("\\StringFileInfo\\040904B0\\") + name;
        return VerQueryValueA(data.data(), path.c_str(), reinterpret_cast<void**>(&value), &length)
                   ? std::string(value)
                   : std::string("(none)");
    };
    EXPECT_EQ("Selvora", text("ProductName"));
    EXPECT_EQ(SELVORA_VERSION, text("ProductVersion"));
    EXPECT_EQ(SELVORA_VERSION, text("FileVersion"));
    EXPECT_EQ("Selvora100_64.dll", text("OriginalFilename"));
}
#endif

}  // namespace
