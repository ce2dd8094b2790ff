// Captions (kinds 0 and 1): each item's text is laid out and drawn once,
// at the largest scale the caption takes, when the item first shows; each
// frame then only places the kept sprites (a blend when the caption stands
// still and upright), sweeps the karaoke highlight and applies the key
// frames. Nothing is laid out again unless the look of an item changes.
// Pieces may carry animations (the format of media items' animations),
// played on the piece's own time: they move, scale, turn, fade and clip the
// kept picture, which is drawn at the largest scale they reach.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/core/log.h"
#include "engine/look/animation.h"
#include "engine/render/caption_segments.h"
#include "engine/text/caption_pose.h"
#include "engine/text/caption_style.h"
#include "engine/text/text_render.h"

namespace orma {

namespace {

/// One item as the segment draws it.
struct ItemPlan {
  TextLook look;
  double offsetX = 0, offsetY = 0; ///< text box centre from the caption's centre, raster pixels
  double angle = 0;                ///< the item's own rotation, degrees
  float opacity = 1;
  int64_t startUs = 0, endUs = 0; ///< on the caption's time
  std::vector<PlacedAnimation> animations;
  double animationScale = 1; ///< largest scale the animations reach; the raster is drawn at it
  std::shared_ptr<const TextRaster> raster;
  bool failed = false;
};

struct DrawOp {
  std::shared_ptr<const TextRaster> raster;
  Affine place;
  float opacity = 1;
  SpritePart clip; ///< what animations leave of the picture
  std::vector<SpritePart> highlight;
  double blur = 0; ///< standard deviation, sprite pixels
};

/// `part` of a sprite as a part of its blurred copy, `pad` pixels larger on
/// every side: a part reaching an edge takes in the blur beyond it.
SpritePart Padded(const SpritePart& part, const Sprite& sprite, int pad) {
  SpritePart p;
  p.x0 = part.x0 <= 0 ? 0 : part.x0 + pad;
  p.y0 = part.y0 <= 0 ? 0 : part.y0 + pad;
  p.x1 = part.x1 >= sprite.width ? sprite.width + 2.0 * pad : part.x1 + pad;
  p.y1 = part.y1 >= sprite.height ? sprite.height + 2.0 * pad : part.y1 + pad;
  return p;
}

/// Draws the parts of the sprite that are not empty, blurred by `sigma`
/// pixels first (once for all parts) when that is at least half a pixel.
void DrawParts(const Sprite& sprite, const Affine& place, float opacity, const SpritePart* parts,
               size_t count, double sigma, Yuv& canvas, int matrix) {
  auto shown = [](const SpritePart& p) { return p.x1 > p.x0 && p.y1 > p.y0; };
  if (std::none_of(parts, parts + count, shown)) return;
  if (sigma < 0.5) {
    for (size_t i = 0; i < count; ++i)
      if (shown(parts[i])) DrawSprite(sprite, place, opacity, parts[i], canvas, matrix);
    return;
  }
  const int pad = static_cast<int>(std::ceil(3 * sigma));
  std::shared_ptr<Sprite> blurred = BlurredSprite(sprite, sigma, pad, matrix);
  const Affine padded = place.After(Affine::Translation(-pad, -pad));
  for (size_t i = 0; i < count; ++i)
    if (shown(parts[i])) DrawSprite(*blurred, padded, opacity, Padded(parts[i], sprite, pad), canvas, matrix);
}

struct CaptionJob : FrameJob {
  std::vector<DrawOp> ops;
};

Rgba ToRgba(const float* c) { return Rgba{c[0], c[1], c[2], c[3]}; }

std::string Field(const char* text, size_t size) { return std::string(text, strnlen(text, size)); }

/// How much larger than at rest an animation makes a piece, at most (capped
/// so that a mistaken file cannot ask for an enormous picture).
double LargestScale(const AnimationClip& clip) {
  auto largest = [&](AnimationClip::Property p) {
    double m = 1;
    for (const AnimationClip::Key& k : clip.Track(p))
      m = std::max(m, static_cast<double>(std::fabs(k.value)));
    return m;
  };
  double s = largest(AnimationClip::kScale) *
             std::max(largest(AnimationClip::kScaleX), largest(AnimationClip::kScaleY));
  return std::min(s, 4.0);
}

class TextSegment : public CaptionSegment<CaptionJob> {
public:
  TextSegment(const Caption& caption, RenderContext& ctx) : CaptionSegment(caption, ctx) {
    scale_ = motion_.MaxScale();
    for (const CaptionItem* item : caption.items)
      Plan(*item);
  }

protected:
  std::shared_ptr<CaptionJob> FetchJob(int64_t f) override {
    int64_t us = std::max<int64_t>(0, FramesToUs(f, ctx_.fps) - caption_.startUs);
    CaptionPose pose = motion_.At(us);
    auto job = std::make_shared<CaptionJob>();
    if (pose.opacity > 0) {
      Affine caption = Affine::Translation(pose.cx, pose.cy)
                           .After(Affine::Rotation(pose.angle))
                           .After(Affine::Scaling(pose.scale / scale_, pose.scale / scale_));
      for (ItemPlan& item : items_) {
        if (us < item.startUs || us >= item.endUs || item.opacity <= 0 || !Raster(item)) continue;
        AnimationPose moved;
        if (!item.animations.empty())
          moved = EvaluateAnimations(item.animations, us - item.startUs, item.endUs - item.startUs);
        DrawOp op;
        op.raster = item.raster;
        op.opacity = pose.opacity * item.opacity * std::clamp(moved.opacity, 0.0f, 1.0f);
        if (op.opacity <= 0) continue;
        // Animation offsets are shares of the canvas, on the canvas.
        double k = 1 / item.animationScale;
        op.place = Affine::Translation(moved.x * ctx_.width, moved.y * ctx_.height)
                       .After(caption)
                       .After(Affine::Translation(item.offsetX, item.offsetY))
                       .After(Affine::Rotation(item.angle + moved.rotation))
                       .After(Affine::Scaling(moved.scaleX * k, moved.scaleY * k))
                       .After(Affine::Translation(-item.raster->anchorX, -item.raster->anchorY));
        const Sprite& base = *item.raster->base;
        op.clip = SpritePart{moved.clip[0] * base.width, moved.clip[1] * base.height,
                             (1 - moved.clip[2]) * base.width, (1 - moved.clip[3]) * base.height};
        if (op.clip.x1 <= op.clip.x0 || op.clip.y1 <= op.clip.y0) continue;
        // Blur 1 is a standard deviation of 0.3 of the font size: the text is
        // no longer legible.
        op.blur = moved.blur * 0.3 * item.raster->fontSize;
        if (item.raster->highlight) {
          double progress =
              static_cast<double>(us - item.startUs) / std::max<int64_t>(1, item.endUs - item.startUs);
          op.highlight = HighlightParts(*item.raster, progress);
          for (SpritePart& part : op.highlight) {
            part.x0 = std::max(part.x0, op.clip.x0);
            part.y0 = std::max(part.y0, op.clip.y0);
            part.x1 = std::min(part.x1, op.clip.x1);
            part.y1 = std::min(part.y1, op.clip.y1);
          }
        }
        job->ops.push_back(std::move(op));
      }
    }
    if (f >= end - 1)
      for (ItemPlan& item : items_)
        item.raster.reset(); // in-flight jobs keep what they draw
    return job;
  }

  void RenderJob(const CaptionJob& job, Yuv& canvas) const override {
    for (const DrawOp& op : job.ops) {
      DrawParts(*op.raster->base, op.place, op.opacity, &op.clip, 1, op.blur, canvas, ctx_.matrix);
      if (!op.highlight.empty())
        DrawParts(*op.raster->highlight, op.place, op.opacity, op.highlight.data(), op.highlight.size(),
                  op.blur, canvas, ctx_.matrix);
    }
  }

private:
  bool Raster(ItemPlan& item) {
    if (item.raster) return true;
    if (item.failed) return false;
    auto raster = std::make_shared<TextRaster>();
    std::string error;
    if (!RenderText(item.look, ctx_.matrix, raster.get(), &error)) {
      if (!item.look.text.empty())
        LogText("caption " + caption_.configPath + ": item \"" + item.look.text + "\" is left out: " + error);
      item.failed = true;
      return false;
    }
    item.raster = std::move(raster);
    return true;
  }

  /// The animations a piece carries, each checked once; one that cannot be
  /// read is left out with a log line.
  void Animate(const CaptionItem& source, ItemPlan* item) {
    for (const PlacedAnimationFile& entry : source.attrs.animations) {
      PlacedAnimation placed;
      std::string error;
      placed.clip = AnimationClip::Load(entry.path, &error);
      if (!placed.clip) {
        LogText("caption " + caption_.configPath + ": an animation is left out: " + error);
        continue;
      }
      placed.type = entry.type;
      placed.startUs = entry.startUs;
      placed.durationUs = entry.durationUs;
      placed.cycleUs = source.attrs.animationCycle;
      item->animationScale = std::max(item->animationScale, LargestScale(*placed.clip));
      item->animations.push_back(std::move(placed));
    }
  }

  /// Turns an item of the model into what the segment draws: sizes on the
  /// canvas at the caption's largest scale.
  void Plan(const CaptionItem& source) {
    const OrmaCaptionItemBlock& b = source.block;
    const CaptionStyle* style = caption_.style.get();
    const CaptionPose& rest = motion_.rest();
    double boxW = rest.boxW > 0 ? rest.boxW : ctx_.width;
    double boxH = rest.boxH > 0 ? rest.boxH : ctx_.height;
    bool templateItem = caption_.captionKind == ORMA_CAPTION_TEMPLATE_LINES;
    // A template's sizes are style pixels of a style box that fills the
    // caption's box; a piece's sizes are output pixels.
    double unit = templateItem && style && style->width > 0 ? boxW / style->width : 1.0;
    ItemPlan item;
    Animate(source, &item);
    double r = scale_ * item.animationScale;
    TextLook& look = item.look;
    look.text = Field(b.text, sizeof b.text);
    double itemW = (b.width > 0 ? b.width : 1.0) * boxW, itemH = (b.height > 0 ? b.height : 1.0) * boxH;
    double cx = (b.centerX - 0.5) * boxW, cy = (b.centerY - 0.5) * boxH;
    double textW = itemW, textH = itemH;
    bool stretch = b.stretchability > 0;
    if (!templateItem) {
      if (!stretch) {
        // Margins of the text box, as fractions of the style box.
        double m0 = b.margins[0], m1 = b.margins[1], m2 = b.margins[2], m3 = b.margins[3];
        if (m0 + m2 < 1 && m1 + m3 < 1 && m0 >= 0 && m1 >= 0 && m2 >= 0 && m3 >= 0) {
          textW = itemW * (1 - m0 - m2);
          textH = itemH * (1 - m1 - m3);
          cx += (m0 - m2) / 2 * itemW;
          cy += (m1 - m3) / 2 * itemH;
        }
      } else if (b.styleWidth > 0) {
        // Paddings in style pixels of a style box as wide as the item.
        double k = itemW / b.styleWidth;
        double p0 = std::max(0.0f, b.textPadding[0]) * k, p1 = std::max(0.0f, b.textPadding[1]) * k;
        double p2 = std::max(0.0f, b.textPadding[2]) * k, p3 = std::max(0.0f, b.textPadding[3]) * k;
        if (itemW - p0 - p2 > 0 && itemH - p1 - p3 > 0) {
          textW = itemW - p0 - p2;
          textH = itemH - p1 - p3;
          cx += (p0 - p2) / 2;
          cy += (p1 - p3) / 2;
        }
      }
    }
    item.offsetX = cx * scale_; // the offset is not part of the picture
    item.offsetY = cy * scale_;
    item.angle = std::isfinite(b.angle) ? b.angle : 0;
    item.opacity = std::isfinite(b.opacity) ? std::clamp(b.opacity, 0.0f, 1.0f) : 0.0f;
    look.boxWidth = textW * r;
    look.boxHeight = textH * r;
    look.fixedBox = !stretch;
    look.size = b.fontSize > 0 ? b.fontSize * unit * r : 0;
    look.fontFile = Field(b.fontFile, sizeof b.fontFile);
    look.family = Field(b.fontFamily, sizeof b.fontFamily);
    if (look.fontFile.empty() && look.family.empty() && style && !style->items.empty()) {
      // A piece that names no font takes the style's.
      look.fontFile = style->items[0].fontFile;
      look.family = style->items[0].fontFamily;
    }
    look.bold = b.isBold != 0;
    look.italic = b.isItalic != 0;
    look.underline = b.isUnderline != 0;
    look.vertical = b.isVertical != 0 || (b.hasVertical && b.vertical != 0);
    look.alignment = std::clamp(b.textAlignment, 0, 2);
    look.lineSpacing = b.lineSpacing * unit * r;
    look.letterSpacing = b.wordSpacing * unit * r;
    look.fill = ToRgba(b.textColor);
    double lengths = unit * r;

    if (source.attrs.stroke) {
      const OrmaStrokeBlock& stroke = *source.attrs.stroke;
      look.strokeWidth = std::max(0.0f, stroke.width) * lengths;
      look.strokeColor = ToRgba(stroke.color);
    }
    if (source.attrs.shadow) {
      const OrmaShadowBlock& shadow = *source.attrs.shadow;
      look.shadowBlur = std::max(0.0f, shadow.blur) * lengths;
      look.shadowAngle = shadow.angle;
      look.shadowDistance = std::max(0.0f, shadow.distance) * lengths;
      look.shadowColor = ToRgba(shadow.color);
    }
    if (source.attrs.backgroundEnabled && source.attrs.background) {
      const OrmaCaptionBackgroundBlock& box = *source.attrs.background;
      look.box = true;
      look.boxParagraph = box.type == ORMA_CAPTION_BOX_PARAGRAPH;
      look.boxColor = ToRgba(box.color);
      look.boxRound = std::clamp(box.roundFactor, 0.0f, 1.0f);
      look.boxPadX = std::max(0.0f, box.padding[0]) * lengths;
      look.boxPadY = std::max(0.0f, box.padding[1]) * lengths;
      look.boxOffsetX = box.offset[0] * lengths;
      look.boxOffsetY = box.offset[1] * lengths;
    } else if (b.backgroundColor[3] > 0) {
      // The piece's plain background colour: a square box behind its text.
      look.box = true;
      look.boxColor = ToRgba(b.backgroundColor);
      look.boxPadX = look.boxPadY = 4 * lengths;
    }
    if (!source.attrs.wordArt.empty()) {
      std::string error;
      look.art = LoadWordArt(source.attrs.wordArt, &error);
      if (!look.art) LogText("word art left out: " + error);
    }
    if (b.hasKtvColor) {
      look.highlight = true;
      look.highlightColor = ToRgba(b.ktvColor);
    }

    // The item's span on the caption's time; a span shorter than a frame
    // (the program hands over the caption's length in seconds for a piece
    // without times) means the whole caption from the item's start.
    int64_t length = caption_.endUs - caption_.startUs;
    int64_t frame = FramesToUs(1, ctx_.fps);
    item.startUs = std::clamp<int64_t>(b.startUs, 0, length);
    item.endUs = b.endUs - item.startUs < frame ? length : std::min<int64_t>(b.endUs, length);
    items_.push_back(std::move(item));
  }

  double scale_ = 1;
  std::vector<ItemPlan> items_;
};

} // namespace

std::unique_ptr<Segment> MakeTextSegment(const Caption& caption, RenderContext& ctx) {
  return std::make_unique<TextSegment>(caption, ctx);
}

} // namespace orma
