// libkestrix-px loaded on its own: it has chosen its level by the time dlopen returns.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "kestrix/px.h"

namespace {

TEST(PxLibrary, ChoosesItsLevelWhenLoaded) {
    void *library = dlopen(KX_PX_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto getLevel = reinterpret_cast<int32_t (*)()>(dlsym(library, "pxGetLevel"));
    const auto chooseLevel = reinterpret_cast<PxStatus (*)()>(dlsym(library, "pxChooseLevel"));
    ASSERT_TRUE(getLevel && chooseLevel);
    const int32_t atLoad = getLevel();
    chooseLevel();  // the choice depends on the processor alone, so a second one must agree
    EXPECT_EQ(atLoad, getLevel());
    dlclose(library);
}

}  // namespace
