// Retiming the timed elements of a filled theme draft (see retime.h). One
// scheme serves all kinds; a Kind says where the elements are, which of
// their file references to make absolute, how the records read back from
// the draft are matched to their elements, and whether the fixed opening and
// closing scenes are left out of the repetition.
//
// Matching: special effects by their times, captions by their times and
// rectangle, musics by their path, and stickers and overlays by their place
// among the elements considered (the reader reads them in array order, one
// record each). Two stickers over the same span are two stickers: matched by
// times, both records would find the first one, which would then be repeated
// twice and the second never.
#include "themes/retime.h"

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "draft/draft.h"
#include "draft/record_lists.h"
#include "themes/media_replace.h"
#include "themes/theme_text.h"

namespace {

using themes::Member;
using themes::NumberOf;
using themes::StringOf;
using themes::Tenths;

// What a record read back from the draft says about its element.
struct Span {
  double from = 0, to = 0;
  bool hasRect = false;
  double left = 0, top = 0, right = 0, bottom = 0;
  std::string path;
};

Span SpanOf(double from, double to) {
  Span span;
  span.from = from;
  span.to = to;
  return span;
}

struct Kind {
  const char* array; // the draft's own array ("logoOverlay" is one object)
  int pipType;       // elements of "pipList" used when the array is empty; -1: none
  bool middleOnly;   // repeat over the period without head and tail
  bool matchByPath;  // musics: the record's path, not its times
  bool matchByPlace; // record k is the k-th element considered
  void (*normalise)(const ThemeRequest*, cJSON*);
  std::vector<Span> (*readBack)(ThemeRequest*, cJSON*);
};

// One kind of element gets at most this many copies in all: a theme with a
// very short period filled with hours of media must not exhaust memory.
constexpr int kMaxCopies = 20000;

void Normalise(const ThemeRequest* record, cJSON* object, const char* key) {
  const char* path = StringOf(object, key);
  if (path && *path && !themes::IsAbsolute(path))
    themes::SetString(object, key, NormaliseThemePath(record, path));
}

void NormaliseEach(const ThemeRequest* record, cJSON* array, const char* key) {
  cJSON* element = nullptr;
  cJSON_ArrayForEach(element, array) Normalise(record, element, key);
}

void NormaliseEffect(const ThemeRequest* r, cJSON* e) { Normalise(r, e, "folderPath"); }

void NormaliseSticker(const ThemeRequest* r, cJSON* e) {
  Normalise(r, e, "folderPath");
  Normalise(r, e, "imageFolderPath");
  NormaliseEach(r, Member(e, "customAnimations"), "folderPath");
}

// A caption's own style and font, and those of its styled pieces and their
// animations.
void NormaliseCaption(const ThemeRequest* r, cJSON* e) {
  Normalise(r, e, "fontPath");
  Normalise(r, e, "folderPath");
  NormaliseEach(r, Member(e, "animates"), "folderPath");
  cJSON* piece = nullptr;
  cJSON_ArrayForEach(piece, Member(e, "wordItem")) {
    Normalise(r, piece, "fontPath");
    Normalise(r, piece, "folderPath");
    NormaliseEach(r, Member(piece, "animates"), "folderPath");
  }
}

void NormaliseOverlay(const ThemeRequest* r, cJSON* e) {
  cJSON* media = Member(e, "media");
  Normalise(r, media, "path");
  for (cJSON* owner : {Member(media, "maskObject")}) {
    Normalise(r, owner, "folderPath");
    Normalise(r, owner, "maskImagePath");
  }
  for (const char* list : {"customAnimations", "specialEffects"}) {
    cJSON* element = nullptr;
    cJSON_ArrayForEach(element, Member(media, list)) {
      Normalise(r, element, "folderPath");
      Normalise(r, element, "maskImagePath");
    }
  }
}

void NormaliseMusic(const ThemeRequest* r, cJSON* e) {
  Normalise(r, e, "path");
  if (r->isMute)
    themes::SetNumber(e, "volume", 0);
  else if (r->volume >= 0)
    themes::SetNumber(e, "volume", r->volume);
}

template <typename T> std::vector<Span> TimesOf(const T* head) {
  std::vector<Span> spans;
  for (const T* r = head; r; r = r->next)
    spans.push_back(SpanOf(r->timelineFrom, r->timelineTo));
  return spans;
}

std::vector<Span> EffectsBack(ThemeRequest* r, cJSON* tree) {
  FreeEffects(r->retimeEffects);
  r->retimeEffects = readSpecialEffects(tree);
  return TimesOf(r->retimeEffects);
}

std::vector<Span> StickersBack(ThemeRequest* r, cJSON* tree) {
  FreeStickers(r->retimeStickers);
  r->retimeStickers = readStickers(nullptr, tree); // no document: no frame folders are touched
  return TimesOf(r->retimeStickers);
}

std::vector<Span> OverlaysBack(ThemeRequest* r, cJSON* tree) {
  FreeOverlays(r->retimeOverlays);
  r->retimeOverlays = readOverlays(tree);
  return TimesOf(r->retimeOverlays);
}

std::vector<Span> CaptionsBack(ThemeRequest* r, cJSON* tree) {
  FreeCaptions(r->retimeCaptions);
  std::unique_ptr<DraftDocument, void (*)(void*)> canvas(NewRecord<DraftDocument>(), std::free);
  if (canvas) {
    canvas->width = static_cast<float>(NumberOf(Member(tree, "size"), "width"));
    canvas->height = static_cast<float>(NumberOf(Member(tree, "size"), "height"));
  }
  r->retimeCaptions = readCaptions(canvas.get(), tree);
  std::vector<Span> spans;
  for (const CaptionRecord* c = r->retimeCaptions; c; c = c->next) {
    Span span = SpanOf(c->timelineFrom, c->timelineTo);
    span.hasRect = true;
    span.left = c->showRect.left;
    span.top = c->showRect.top;
    span.right = c->showRect.right;
    span.bottom = c->showRect.bottom;
    spans.push_back(span);
  }
  return spans;
}

std::vector<Span> MusicsBack(ThemeRequest* r, cJSON* tree) {
  FreeAudioTracks(r->retimeMusics);
  r->retimeMusics = readMusics(tree);
  std::vector<Span> spans;
  for (const AudioTrackRecord* m = r->retimeMusics; m; m = m->next) {
    Span span = SpanOf(m->timelineFrom, m->timelineTo);
    span.path = m->path;
    spans.push_back(span);
  }
  return spans;
}

bool Near(double a, double b) { return std::fabs(a - b) < 0.1; }

bool Matches(const Kind& kind, const cJSON* element, const Span& span) {
  if (kind.matchByPath) {
    const char* path = StringOf(element, "path");
    return path && span.path == path;
  }
  if (!Near(Tenths(NumberOf(element, "timelineFrom")), span.from) ||
      !Near(Tenths(NumberOf(element, "timelineTo")), span.to))
    return false;
  if (!span.hasRect) return true;
  const cJSON* rect = Member(element, "showRectF");
  const double x = NumberOf(rect, "x"), y = NumberOf(rect, "y");
  return Near(x, span.left) && Near(y, span.top) && Near(x + NumberOf(rect, "width"), span.right) &&
         Near(y + NumberOf(rect, "height"), span.bottom);
}

// Appends copies of an element that ends before the new end every `period`
// seconds until `end` (the new end, or the start of the closing scene);
// *budget counts the copies still allowed.
void Repeat(cJSON* array, const cJSON* element, double period, double newEnd, double end, int* budget) {
  double from = Tenths(NumberOf(element, "timelineFrom"));
  double to = Tenths(NumberOf(element, "timelineTo"));
  if (!(period > 0) || !(to > 0) || !(to < newEnd)) return;
  for (; *budget > 0; --*budget) {
    from += period;
    to += period;
    if (from >= end) return;
    const bool last = to > end;
    if (last) to = end;
    cJSON* copy = cJSON_Duplicate(element, true);
    if (!copy) return;
    themes::SetNumber(copy, "timelineFrom", from);
    themes::SetNumber(copy, "timelineTo", to);
    cJSON_AddItemToArray(array, copy);
    if (last) return;
  }
}

int Retime(ThemeRequest* record, cJSON* tree, float newDuration, const Kind& kind) {
  if (!record || !tree || !(newDuration > 0) || !(record->oldDuration > 0)) return 0;
  cJSON* array = Member(tree, kind.array);
  bool filtered = false;
  if (cJSON_GetArraySize(array) == 0) {
    if (kind.pipType < 0) return 1;
    array = Member(tree, "pipList");
    if (!array) return 1;
    filtered = true;
  }
  std::vector<cJSON*> elements;
  cJSON* element = nullptr;
  cJSON_ArrayForEach(element, array) {
    const cJSON* type = Member(element, "pipType");
    if (!filtered || (cJSON_IsNumber(type) && type->valueint == kind.pipType)) elements.push_back(element);
  }

  const double newEnd = newDuration;
  for (cJSON* e : elements) {
    const double to = Tenths(NumberOf(e, "timelineTo"));
    kind.normalise(record, e);
    if (to >= newEnd) themes::SetNumber(e, "timelineTo", newEnd);
  }
  if (newDuration <= record->oldDuration) return 1;

  const double tail = kind.middleOnly ? record->tailLength : 0.0;
  const double head = kind.middleOnly ? record->headLength : 0.0;
  const double period = Tenths(record->oldDuration) - head - tail;
  int budget = kMaxCopies;
  const std::vector<Span> spans = kind.readBack(record, tree);
  for (size_t k = 0; k < spans.size(); ++k) {
    const Span& span = spans[k];
    if (kind.matchByPlace) {
      if (k < elements.size()) Repeat(array, elements[k], period, newEnd, newEnd - tail, &budget);
      continue;
    }
    for (cJSON* e : elements) {
      if (!Matches(kind, e, span)) continue;
      Repeat(array, e, period, newEnd, newEnd - tail, &budget);
      break;
    }
  }
  return 1;
}

const Kind kOverlays{"overlays", -1, true, false, true, NormaliseOverlay, OverlaysBack};
const Kind kEffects{"specialEffects", 1, false, false, false, NormaliseEffect, EffectsBack};
const Kind kStickers{"stickers", 4, true, false, true, NormaliseSticker, StickersBack};
const Kind kCaptions{"subtitleExs", 3, true, false, false, NormaliseCaption, CaptionsBack};
const Kind kMusics{"musics", -1, false, true, false, NormaliseMusic, MusicsBack};

} // namespace

int UpdateJsonOverlaysObject(ThemeRequest* r, cJSON* tree, float d) { return Retime(r, tree, d, kOverlays); }
int UpdateJsonSpecialEffectsObject(ThemeRequest* r, cJSON* tree, float d) {
  return Retime(r, tree, d, kEffects);
}
int UpdateJsonStickersObject(ThemeRequest* r, cJSON* tree, float d) { return Retime(r, tree, d, kStickers); }
int UpdateJsonCaptionObject(ThemeRequest* r, cJSON* tree, float d) { return Retime(r, tree, d, kCaptions); }
int UpdateJsonMusicsObject(ThemeRequest* r, cJSON* tree, float d) { return Retime(r, tree, d, kMusics); }

int UpdateJsonLogosObject(ThemeRequest* record, cJSON* tree, float newDuration) {
  if (!record || !tree || !(newDuration > 0) || !(record->oldDuration > 0)) return 0;
  Normalise(record, Member(tree, "logoOverlay"), "path");
  return 1;
}

int RetimeElements(ThemeRequest* record, cJSON* tree, float newDuration) {
  const struct {
    int (*update)(ThemeRequest*, cJSON*, float);
    const char* failure;
  } steps[] = {
      {UpdateJsonOverlaysObject, "error : updateJsonOverlaysObject fail 781! \n"},
      {UpdateJsonSpecialEffectsObject, "error : updateJsonSpecialEffectsObject fail 792! \n"},
      {UpdateJsonStickersObject, "error : updateJsonStickersObject fail 802! \n"},
      {UpdateJsonCaptionObject, "error : updateJsonCaptionObject fail 810! \n"},
      {UpdateJsonMusicsObject, "error : updateJsonMusicsObject fail 820! \n"},
      {UpdateJsonLogosObject, "error : updateJsonLogosObject fail 820! \n"},
  };
  for (const auto& step : steps) {
    if (step.update(record, tree, newDuration) <= 0) {
      themes::PrintErrorBlock(step.failure);
      return 0;
    }
  }
  return 1;
}
