#include <gtest/gtest.h>

#include <memory>

#include "engine/core/libraries.h"
#include "engine/timeline/timeline.h"

namespace {

class Nothing : public orma::Segment {
public:
  Nothing(int64_t from, int64_t to) {
    start = from;
    end = to;
    overlay = true;
  }
  orma::FrameJobPtr Fetch(int64_t) override { return nullptr; }
  void Render(const orma::FrameJobPtr&, orma::Yuv&) const override {}
  void Audio(const orma::FrameJobPtr&, orma::AudioBlock&) const override {}
};

class TimelineTracks : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(orma::EnsureMlt());
    video.settings.width = 320;
    video.settings.height = 180;
    profile = orma::MakeProfile(video.settings);
    ctx.profile = profile.get();
    ctx.width = 320;
    ctx.height = 180;
    timeline = std::make_unique<orma::Timeline>(video, ctx);
  }
  void TearDown() override { timeline.reset(); }
  int Place(int64_t from, int64_t to) {
    int track = timeline->AllocateTrack(from, to);
    EXPECT_TRUE(timeline->Append(track, std::make_unique<Nothing>(from, to)));
    return track;
  }
  orma::VirtualVideo video;
  orma::RenderContext ctx;
  orma::ProfilePtr profile;
  std::unique_ptr<orma::Timeline> timeline;
};

TEST_F(TimelineTracks, ElementsOutOfTimeOrderShareOneTrackWhenTheyNeverOverlap) {
  // Levels need not follow time: the latest element comes first.
  for (int i = 9; i >= 0; --i)
    EXPECT_EQ(Place(i * 10, i * 10 + 10), 1) << i;
  EXPECT_EQ(Place(35, 36), 2); // overlaps one of them
  EXPECT_EQ(Place(200, 210), 1);
}

TEST_F(TimelineTracks, OverlappingElementsGetTracksOfTheirOwn) {
  EXPECT_EQ(Place(0, 100), 1);
  EXPECT_EQ(Place(50, 60), 2);
  EXPECT_EQ(Place(55, 58), 3);
  EXPECT_EQ(Place(60, 70), 2); // starts where the second one ends
  EXPECT_EQ(Place(100, 101), 1);
}

TEST_F(TimelineTracks, AStackedTrackRefusesAnOverlappingSegment) {
  EXPECT_EQ(Place(10, 20), 1);
  EXPECT_FALSE(timeline->Append(1, std::make_unique<Nothing>(15, 25)));
  EXPECT_FALSE(timeline->Append(1, std::make_unique<Nothing>(0, 11)));
  EXPECT_TRUE(timeline->Append(1, std::make_unique<Nothing>(0, 10)));
}

TEST_F(TimelineTracks, TheVideoLastsToTheEndOfItsLatestElement) {
  Place(40, 50);
  Place(0, 10);
  std::string error;
  ASSERT_TRUE(timeline->Build(&error)) << error;
  EXPECT_EQ(timeline->length(), 50);
}

} // namespace

TEST_F(TimelineTracks, WhatASegmentHoldsIsReleasedOnceTheRenderingPassesItAndOnlyOnce) {
  int released = 0;
  timeline->ReleaseAfter(9, [&released] { ++released; });
  timeline->Retire(0);
  timeline->Retire(9);
  EXPECT_EQ(released, 0); // its last frame is still to come
  timeline->Retire(10);
  timeline->Retire(11);
  EXPECT_EQ(released, 1);
  timeline->Retire(5); // a seek back: it is taken again, and let go again
  timeline->Retire(12);
  EXPECT_EQ(released, 2);
}
