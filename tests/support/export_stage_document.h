// A zero-filled DraftDocument for the tests of the export stages that run
// after the scene track, with its element lists built in code and released
// when the test ends.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "draft/records.h"
#include "tests/support/recording_core.h"

namespace stagetest {

template <typename T> void FreeList(T* head) {
  while (head) {
    T* next = head->next;
    std::free(head);
    head = next;
  }
}

inline void CopyText(char* buffer, size_t size, const char* text) { std::snprintf(buffer, size, "%s", text); }

// Tests cannot go on without their records.
template <typename T> T* Required(T* record) {
  if (!record) std::abort();
  return record;
}

template <typename T> T* Appended(T** head) { return Required(ListTail<T>(head).Append()); }

/// The folder of the stage document's draft, "/drafts/p/d_1.json".
inline const std::string kDraftFolder = "/drafts/p";

class StageDocument {
public:
  StageDocument() : doc_(Required(NewRecord<DraftDocument>())) {
    CopyText(doc_->draftPath, sizeof(doc_->draftPath), (kDraftFolder + "/d_1.json").c_str());
    doc_->ver = 5;
  }
  ~StageDocument() {
    FreeList(doc_->mosaics);
    FreeList(doc_->customFilters);
    FreeList(doc_->musics);
    FreeList(doc_->soundEffects);
    FreeList(doc_->tonings);
    FreeList(doc_->specialEffects);
    for (OverlayRecord* o = doc_->overlays; o; o = o->next)
      FreeList(o->media);
    FreeList(doc_->overlays);
    FreeList(doc_->logo);
    std::free(doc_);
  }
  StageDocument(const StageDocument&) = delete;
  StageDocument& operator=(const StageDocument&) = delete;

  DraftDocument* get() { return doc_; }
  DraftDocument* operator->() { return doc_; }

  MosaicRecord* AddMosaic(int32_t type, float from, float to) {
    MosaicRecord* m = Appended<MosaicRecord>(&doc_->mosaics);
    m->type = type;
    m->timelineFrom = from;
    m->timelineTo = to;
    return m;
  }
  FilterRecord* AddFilter(const char* path, float from, float to) {
    FilterRecord* f = Appended<FilterRecord>(&doc_->customFilters);
    CopyText(f->lookUpFilterPath, sizeof(f->lookUpFilterPath), path);
    f->timelineFrom = from;
    f->timelineTo = to;
    return f;
  }
  AudioTrackRecord* AddMusic(const char* path) {
    AudioTrackRecord* a = Appended<AudioTrackRecord>(&doc_->musics);
    CopyText(a->path, sizeof(a->path), path);
    return a;
  }
  AudioTrackRecord* AddSoundEffect(const char* path) {
    AudioTrackRecord* a = Appended<AudioTrackRecord>(&doc_->soundEffects);
    CopyText(a->path, sizeof(a->path), path);
    return a;
  }
  ToningRecord* AddToning(float from, float to) {
    ToningRecord* t = Appended<ToningRecord>(&doc_->tonings);
    t->timelineFrom = from;
    t->timelineTo = to;
    return t;
  }
  EffectRecord* AddEffect(const char* folder, float from, float to) {
    EffectRecord* e = Appended<EffectRecord>(&doc_->specialEffects);
    CopyText(e->folderPath, sizeof(e->folderPath), folder);
    e->timelineFrom = from;
    e->timelineTo = to;
    return e;
  }
  OverlayRecord* AddOverlay(float from, float to) {
    OverlayRecord* o = Appended<OverlayRecord>(&doc_->overlays);
    o->timelineFrom = from;
    o->timelineTo = to;
    return o;
  }
  static MediaRecord* AddOverlayMedia(OverlayRecord* overlay, const char* path) {
    MediaRecord* m = Appended<MediaRecord>(&overlay->media);
    CopyText(m->path, sizeof(m->path), path);
    return m;
  }
  LogoRecord* AddLogoItem(const char* path) {
    LogoRecord* m = Appended<LogoRecord>(&doc_->logo);
    CopyText(m->path, sizeof(m->path), path);
    return m;
  }

private:
  DraftDocument* doc_;
};

/// The recorded calls whose names are among `names`, formatted.
inline std::vector<std::string> CallsNamed(const std::vector<std::string>& names) {
  std::vector<std::string> out;
  for (const recorder::Call& c : recorder::Calls())
    for (const std::string& n : names)
      if (c.name == n) out.push_back(recorder::Format(c));
  return out;
}

/// Names of the recorded calls, in order, limited to `names`.
inline std::vector<std::string> NamesAmong(const std::vector<std::string>& names) {
  std::vector<std::string> out;
  for (const std::string& c : recorder::CallNames())
    for (const std::string& n : names)
      if (c == n) out.push_back(c);
  return out;
}

} // namespace stagetest
