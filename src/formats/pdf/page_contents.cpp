// The operators of a page's contents (ISO 32000-1, annex A) are followed only as far as needed to know where the image
// is and that nothing else is painted, by them or by an annotation. Whatever is not known for sure speaks against it:
// such a page is rendered.
#include "formats/pdf/page_contents.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <qpdf/BufferInputSource.hh>
#include <qpdf/Pipeline.hh>
#include <qpdf/QPDFTokenizer.hh>
#include <string_view>
#include <vector>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_contents|9|01|2|0|0|11/23/26|11:58:22";

constexpr size_t LONGEST_CONTENTS = 4 << 20;  // bytes: those of a page of recognised text are far fewer
constexpr double LONGEST_ROW = 1 << 20;       // bytes that a predictor works on
constexpr size_t DEEPEST_STATE = 1000;        // of saved graphics states
constexpr double NEAR = 1;                    // points within which a clip counts as the edge of the page

using Rectangle = QPDFObjectHandle::Rectangle;

// Keeps what is written to it, up to a limit.
class BoundedPipeline : public Pipeline {
 public:
  BoundedPipeline(std::string &bytes, size_t most) : Pipeline("bytes", nullptr), bytes_(bytes), most_(most) {}

  void write(const unsigned char *data, size_t size) override {
    overflow_ = overflow_ || size > most_ - bytes_.size();
    if (!overflow_) bytes_.append(reinterpret_cast<const char *>(data), size);
  }
  void finish() override {}
  bool overflow() const { return overflow_; }

 private:
  std::string &bytes_;
  size_t most_;
  bool overflow_ = false;
};

// Operators that paint nothing and move nothing: the style of lines, stroking colours, marked content, and the place
// and style of text.
constexpr std::string_view HARMLESS[] = {"w",   "J",  "j",  "M",  "d",  "ri", "i",   "MP", "DP", "BMC",
                                         "EMC", "BT", "ET", "Tc", "Tw", "Tz", "TL",  "Ts", "Td", "TD",
                                         "Tm",  "T*", "CS", "SC", "G",  "RG", "SCN", "BX", "EX", "K"};
constexpr std::string_view PATH[] = {"m", "l", "c", "v", "y", "h"};
constexpr std::string_view PAINTING[] = {"S", "s", "f", "F", "f*", "B", "B*", "b", "b*", "sh"};
constexpr std::string_view TEXT[] = {"Tj", "TJ", "'", "\""};
constexpr int INVISIBLE = 3;  // text rendering mode

template <size_t N>
bool is_one_of(std::string_view word, const std::string_view (&words)[N]) {
  return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

// Follows the operators.
class Scan {
 public:
  Scan(const QPDFObjectHandle &resources, const Rectangle &box) : resources_(resources), box_(box) {
    states_.emplace_back();
    states_.back().clip = box;
  }

  // The contents up to their end or to what speaks against them.
  void follow(const std::string &contents) {
    const auto source = std::make_shared<BufferInputSource>("contents", contents);
    QPDFTokenizer tokens;
    tokens.allowEOF();
    while (why_.empty()) {
      const QPDFTokenizer::Token token = tokens.readToken(source, "contents", true);
      switch (token.getType()) {
        case QPDFTokenizer::tt_eof:
          return;
        case QPDFTokenizer::tt_bad:
          return refuse("its contents are damaged");
        case QPDFTokenizer::tt_integer:
        case QPDFTokenizer::tt_real:
          numbers_.push_back(strtod(token.getValue().c_str(), nullptr));
          break;
        case QPDFTokenizer::tt_name:
          names_.push_back(token.getValue());
          break;
        case QPDFTokenizer::tt_word:
          obey(token.getValue());
          numbers_.clear();
          names_.clear();
          break;
        default:
          break;
      }
    }
  }

  const std::string &why() const { return why_; }
  const ShownImage &shown() const { return shown_; }
  bool has_image() const { return images_ > 0; }

 private:
  struct State {
    QPDFMatrix matrix;
    Rectangle clip;
    bool black_paint = true, visible_text = true, drawn_font = false;
  };

  void refuse(const char *why) { why_ = why; }

  double number(size_t i) const { return i < numbers_.size() ? numbers_[i] : 0; }

  bool numbers_are(std::initializer_list<double> wanted) const {
    return std::equal(numbers_.begin(), numbers_.end(), wanted.begin(), wanted.end());
  }

  QPDFObjectHandle resource(const char *kind) const {
    QPDFObjectHandle resources = resources_;
    QPDFObjectHandle all = resources.isDictionary() ? resources.getKey(kind) : QPDFObjectHandle::newNull();
    return all.isDictionary() && !names_.empty() ? all.getKey(names_.back()) : QPDFObjectHandle::newNull();
  }

  void obey(const std::string &word) {
    State &state = states_.back();
    if (word == "q" && states_.size() < DEEPEST_STATE) {
      states_.push_back(State(state));
    } else if (word == "Q") {
      if (states_.size() > 1) states_.pop_back();
    } else if (word == "cm" && numbers_.size() == 6) {
      state.matrix.concat({number(0), number(1), number(2), number(3), number(4), number(5)});
    } else if (word == "Do") {
      show(state);
    } else if (word == "re" && numbers_.size() == 4) {
      path_is_rectangle_ = !path_begun_;
      path_begun_ = true;
      path_ = state.matrix.transformRectangle({number(0), number(1), number(0) + number(2), number(1) + number(3)});
      path_is_rectangle_ = path_is_rectangle_ && is_upright(state.matrix);
    } else if (is_one_of(word, PATH)) {
      path_begun_ = true;
      path_is_rectangle_ = false;
    } else if (word == "W" || word == "W*") {
      clips_ = true;
    } else if (word == "n") {
      end_path(state);
    } else if (word == "gs") {
      take_parameters();
    } else if (word == "BDC") {
      if (!names_.empty() && names_.front() == "/OC") refuse("it has layers");
    } else if (!set_colour(word, state) && !set_text(word, state) && !is_one_of(word, HARMLESS)) {
      refuse(is_one_of(word, PAINTING) ? "it contains drawings"
             : word == "BI"            ? "it contains an image within its text"
                                       : "it contains operators that are not known");
    }
  }

  static bool is_upright(const QPDFMatrix &matrix) {
    return (matrix.b == 0 && matrix.c == 0) || (matrix.a == 0 && matrix.d == 0);
  }

  void end_path(State &state) {
    if (clips_ && !path_is_rectangle_) return refuse("it is clipped");
    if (clips_)
      state.clip = {std::max(state.clip.llx, path_.llx), std::max(state.clip.lly, path_.lly),
                    std::min(state.clip.urx, path_.urx), std::min(state.clip.ury, path_.ury)};
    clips_ = path_begun_ = path_is_rectangle_ = false;
  }

  // An image may not be transparent or blended.
  void take_parameters() {
    QPDFObjectHandle parameters = resource("/ExtGState");
    if (!parameters.isDictionary()) return refuse("a graphics state is missing");
    QPDFObjectHandle mask = parameters.getKey("/SMask"), blend = parameters.getKey("/BM"),
                     opacity = parameters.getKey("/ca");
    const bool plain = (mask.isNull() || mask.isNameAndEquals("/None")) &&
                       (blend.isNull() || blend.isNameAndEquals("/Normal")) &&
                       (opacity.isNull() || (opacity.isNumber() && opacity.getNumericValue() == 1));
    if (!plain || parameters.hasKey("/TR") || parameters.hasKey("/TR2")) refuse("it is transparent");
    if (parameters.hasKey("/Font")) states_.back().drawn_font = true;
  }

  // The colour of a stencil mask.
  bool set_colour(const std::string &word, State &state) const {
    if (word == "g") {
      state.black_paint = numbers_are({0});
    } else if (word == "rg") {
      state.black_paint = numbers_are({0, 0, 0});
    } else if (word == "k") {
      state.black_paint = numbers_are({0, 0, 0, 1});
    } else if (word == "cs" || word == "sc" || word == "scn") {
      state.black_paint = false;  // or perhaps not: the page is rendered
    } else {
      return false;
    }
    return true;
  }

  bool set_text(const std::string &word, State &state) {
    if (word == "Tr") {
      state.visible_text = number(0) != INVISIBLE;
    } else if (word == "Tf") {
      // The glyphs of such a font are drawn in any rendering mode.
      QPDFObjectHandle font = resource("/Font");
      state.drawn_font = !font.isDictionary() || font.getKey("/Subtype").isNameAndEquals("/Type3");
    } else if (is_one_of(word, TEXT)) {
      if (state.visible_text || state.drawn_font) refuse("it contains text");
    } else {
      return false;
    }
    return true;
  }

  void show(const State &state) {
    QPDFObjectHandle image = resource("/XObject");
    if (!image.isStream()) return refuse("an image is missing");
    if (!image.getDict().getKey("/Subtype").isNameAndEquals("/Image")) return refuse("it contains a form");
    if (++images_ > 1) return refuse("it contains several images");
    shown_ = {image, state.matrix, state.black_paint};
    const Rectangle all = state.matrix.transformRectangle({0, 0, 1, 1});
    const bool clipped =
        state.clip.llx > std::max(box_.llx, all.llx) + NEAR || state.clip.lly > std::max(box_.lly, all.lly) + NEAR ||
        state.clip.urx < std::min(box_.urx, all.urx) - NEAR || state.clip.ury < std::min(box_.ury, all.ury) - NEAR;
    if (clipped) refuse("its image is clipped");
  }

  const QPDFObjectHandle resources_;
  const Rectangle box_;
  std::vector<State> states_;
  std::vector<double> numbers_;  // operands
  std::vector<std::string> names_;
  Rectangle path_;  // of the path, if it is one rectangle
  bool path_begun_ = false, path_is_rectangle_ = false, clips_ = false;
  int images_ = 0;
  ShownImage shown_;
  std::string why_;
};

// The width of the border of a link: black and solid by default (ISO 32000-1, 12.5.4).
double border_width(QPDFObjectHandle link) {
  QPDFObjectHandle border = link.getKey("/Border"), style = link.getKey("/BS"), width = QPDFObjectHandle::newNull();
  if (style.isDictionary()) {
    width = style.getKey("/W");
  } else if (border.isArray() && border.getArrayNItems() > 2) {
    width = border.getArrayItem(2);
  }
  return width.isNumber() ? width.getNumericValue() : 1;
}

// Whether an annotation may be seen: most have an appearance, or poppler makes one for them.
bool is_seen(QPDFAnnotationObjectHelper annotation) {
  if ((annotation.getFlags() & (an_hidden | an_no_view)) != 0) return false;
  const std::string kind = annotation.getSubtype();
  const Rectangle place = annotation.getRect();
  const bool has_size = place.llx != place.urx || place.lly != place.ury;
  if (kind == "/Widget") return has_size;  // a signature that is not to be seen has none
  QPDFObjectHandle object = annotation.getObjectHandle();
  if (object.hasKey("/AP")) return true;
  return kind == "/Link" ? border_width(object) != 0 : kind != "/Popup";
}

// Whether predictors (ISO 32000-1, 7.4.4.4) work on rows that are not too long: libqpdf takes the memory for two that
// it sets to 0, before it reads the first.
bool rows_are_short(QPDFObjectHandle parameters) {
  const auto is_short = [](QPDFObjectHandle one) {
    const auto number = [&](const char *key, double preset) {
      QPDFObjectHandle value = one.getKey(key);
      return value.isNumber() ? value.getNumericValue() : preset;
    };
    return !one.isDictionary() || number("/Predictor", 1) < 2 ||
           number("/Columns", 1) * number("/Colors", 1) * number("/BitsPerComponent", 8) <= LONGEST_ROW * 8;
  };
  if (!parameters.isArray()) return is_short(parameters);
  const std::vector<QPDFObjectHandle> all = parameters.getArrayAsVector();
  return std::all_of(all.begin(), all.end(), is_short);
}

}  // namespace

bool decode_stream(QPDFObjectHandle stream, size_t most, std::string &bytes) {
  if (!rows_are_short(stream.getDict().getKey("/DecodeParms"))) return false;
  BoundedPipeline pipeline(bytes, bytes.size() + most);
  bool filtered = false;
  return stream.pipeStreamData(&pipeline, &filtered, 0, qpdf_dl_specialized, true) && filtered && !pipeline.overflow();
}

bool find_shown_image(QPDFPageObjectHelper &page, const QPDFObjectHandle::Rectangle &box, ShownImage &shown,
                      std::string &why) {
  std::string contents;
  for (const QPDFObjectHandle &stream : page.getPageContents()) {
    if (contents.size() > LONGEST_CONTENTS || !decode_stream(stream, LONGEST_CONTENTS, contents)) {
      why = "its contents are long or damaged";
      return false;
    }
    contents += '\n';
  }
  Scan scan(page.getAttribute("/Resources", false), box);
  scan.follow(contents);
  why = scan.why();
  if (why.empty() && !scan.has_image()) why = "it contains no image";
  const std::vector<QPDFAnnotationObjectHelper> annotations = page.getAnnotations();
  if (why.empty() && std::any_of(annotations.begin(), annotations.end(), is_seen)) why = "it has annotations";
  shown = scan.shown();
  return why.empty();
}

}  // namespace tolvane
