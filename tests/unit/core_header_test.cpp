// The contract of corelib/orma_core.h that the compiler checks: each handle
// kind is a type of its own, so a call refuses a handle of another kind at
// compile time, while every handle stays a plain pointer at the boundary;
// and the library's result numbers stay those the program and its users
// have always read. The static_asserts stop the build when the contract is
// broken; the tests say the same at run time, by name.
#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

#include "corelib/orma_core.h"

namespace {

// A call that takes (handle, int32_t) accepts a handle of type H.
template <class H, class F> constexpr bool Accepts(F) { return std::is_invocable_v<F, H, int32_t>; }

constexpr bool kSceneWhereMediaBelongs = Accepts<OrmaSceneHandle>(&OrmaSetMediaFlip);
constexpr bool kMediaWhereMediaBelongs = Accepts<OrmaMediaHandle>(&OrmaSetMediaFlip);
constexpr bool kVideoWhereAudioBelongs = Accepts<OrmaVideoHandle>(&OrmaSetAudioMediaEffect);
constexpr bool kCaptionItemWhereCaptionBelongs = Accepts<OrmaCaptionItemHandle>(&OrmaUpateCaptionLevel);

static_assert(!kSceneWhereMediaBelongs, "a scene handle must not pass for a media handle");
static_assert(kMediaWhereMediaBelongs);
static_assert(!kVideoWhereAudioBelongs, "a video handle must not pass for an audio handle");
static_assert(!kCaptionItemWhereCaptionBelongs, "a caption item must not pass for its caption");

template <class A, class B>
constexpr bool kConvertible = std::is_convertible_v<A, B> || std::is_convertible_v<B, A>;

static_assert(!kConvertible<OrmaVideoHandle, OrmaSceneHandle>);
static_assert(!kConvertible<OrmaSceneHandle, OrmaMediaHandle>);
static_assert(!kConvertible<OrmaMediaHandle, OrmaEffectHandle>);
static_assert(!kConvertible<OrmaEffectHandle, OrmaAudioHandle>);
static_assert(!kConvertible<OrmaAudioHandle, OrmaCaptionHandle>);
static_assert(!kConvertible<OrmaCaptionHandle, OrmaCaptionItemHandle>);
static_assert(!kConvertible<OrmaCaptionItemHandle, OrmaMaskHandle>);
static_assert(!kConvertible<OrmaMaskHandle, OrmaMediaHandle>);

} // namespace

TEST(CoreHeader, ASceneHandleIsRefusedWhereAMediaHandleBelongs) {
  EXPECT_FALSE(kSceneWhereMediaBelongs);
  EXPECT_TRUE(kMediaWhereMediaBelongs);
  EXPECT_FALSE(kVideoWhereAudioBelongs);
  EXPECT_FALSE(kCaptionItemWhereCaptionBelongs);
}

TEST(CoreHeader, EveryHandleIsAPlainPointerAtTheBoundary) {
  // The same ABI as the void* handles the library has always exchanged.
  EXPECT_TRUE(std::is_pointer_v<OrmaVideoHandle>);
  EXPECT_EQ(sizeof(OrmaVideoHandle), sizeof(void*));
  EXPECT_EQ(sizeof(OrmaMaskHandle), sizeof(void*));
  EXPECT_TRUE((std::is_convertible_v<OrmaSceneHandle, void*>))
      << "OrmaUpdateEffectLevel takes scenes and effects";
  EXPECT_TRUE((std::is_convertible_v<OrmaEffectHandle, void*>));
}

TEST(CoreHeader, TheLibrarysResultNumbersStayAsPublished) {
  EXPECT_EQ(ORMA_OK, 1);
  EXPECT_EQ(ORMA_BAD_HANDLE, -1);
  EXPECT_EQ(ORMA_BAD_STATE, -4);
  EXPECT_EQ(ORMA_NO_FRAME_SIZE, -20);
  EXPECT_EQ(ORMA_EXPORT_STOPPED, -34);
  EXPECT_EQ(ORMA_ENCODER_DOES_NOT_FIT_CONTAINER, -35);
  EXPECT_EQ(ORMA_NO_PREVIEW_WINDOW, -40);
  EXPECT_EQ(ORMA_PREVIEW_NOT_RUNNING, -43);
}
