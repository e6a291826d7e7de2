// The library's binary interface: the exported names are there under their
// own names, and the internals stay hidden.
#include <gtest/gtest.h>
#ifdef _WIN32
#include <windows.h>
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

TEST_F(Exports, FreeFunctionsAreExported) {
    EXPECT_TRUE(Has("_Z8OV_angle7Point3dS_"));
    EXPECT_TRUE(Has("_Z7ListAddP4LISTPv"));
    EXPECT_TRUE(Has("_Z9ListCountP4LIST"));
    EXPECT_TRUE(Has("_Z9ListMergeP4LISTS0_"));
    EXPECT_TRUE(Has("_Z13ListDuplicateP4LIST"));
    EXPECT_TRUE(Has("_Z10ListRemoveP4LISTPv"));
    EXPECT_TRUE(Has("_Z11ListDestroyP4LIST"));
    EXPECT_TRUE(Has("_Zmld8Vector3d"));
}

TEST_F(Exports, MembersAreExported) {
    EXPECT_TRUE(Has("_ZN8Matrix3d7inverseEv"));
    EXPECT_TRUE(Has("_ZN8Matrix3d14setCoordSystemE7Point3d8Vector3dS1_"));
    EXPECT_TRUE(Has("_ZN8Vector3d9normalizeEv"));
    EXPECT_TRUE(Has("_ZN7Point3d5roundEd"));
    EXPECT_TRUE(Has("_ZN8OvString6FormatEPKcz"));
    EXPECT_TRUE(Has("_ZN13OvStringArray8RemoveAtEii"));
    EXPECT_TRUE(Has("_ZN7OvColor3setEfff"));
}

TEST_F(Exports, InlineHotPathsAreExportedToo) {
    EXPECT_TRUE(Has("_ZNK8Matrix3dmlES_"));
    EXPECT_TRUE(Has("_Zml8Matrix3d7Point3d"));
    EXPECT_TRUE(Has("_Zml8Matrix3d8Vector3d"));
}

TEST_F(Exports, TessellationIsExported) {
    EXPECT_TRUE(Has("_Z24OV_getTessellationBufferPPdPPiS2_S0_"));
    EXPECT_TRUE(Has("_Z17OV_doTessellationiii"));
}

TEST_F(Exports, TheTriangulatorCompiledInIsHidden) {
    for (const char* name :
         {"triangulate", "trifree", "triexit", "internalerror", "trimalloc", "finddirection",
          "counterclockwise", "insertsegment", "selvora_triangulate"}) {
        EXPECT_FALSE(Has(name)) << name;
    }
}

TEST_F(Exports, InternalsAreHidden) {
    EXPECT_FALSE(Has("_ZN7selvora12FormatBufferEv"));
    EXPECT_FALSE(Has("_ZN7selvora8_stricmpEPKcS1_"));
    EXPECT_FALSE(Has("_ZN7selvora7BuffersEv"));
    EXPECT_FALSE(Has("_ZN7selvora14ShowMessageBoxEPKc"));
}

}  // namespace
