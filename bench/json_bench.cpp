// Measures how fast JSON texts are parsed and printed, in MB/s, and checks that the time per byte
// stays the same from documents of 10 MB to documents of 100 MB.
//
// The call texts are parsed as a call parses its own, to a json_document; their goal is 1 GB/s. The
// other texts go to trees of separate nodes and back. Exits with 1 if a call text misses its goal
// or the time per byte grows by more than 1.3.
//
// Times are this process's processor time. The heap keeps freed memory, so no measurement contains
// the kernel's time for fresh pages, which depends on how the heap gets a block of that size and
// not on this code. Where the time per byte is compared, each step starts with cold caches, because
// a tree of 10 MB of text would fit in them and one of 100 MB would not.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "json/document.h"
#include "json/json.h"

namespace {

using namespace kvrpc;

struct deleter {
  void operator()(json_node* node) const { json_delete(node); }
  void operator()(char* text) const { std::free(text); }
};
using tree_ptr = std::unique_ptr<json_node, deleter>;
using text_ptr = std::unique_ptr<char, deleter>;

std::string flat_object(std::size_t members) {
  std::string out = "{";
  for (std::size_t i = 0; i < members; ++i) {
    out += (i == 0 ? "\"member" : ",\"member") + std::to_string(i);
    out += R"(":"M\u00fcller, Hauptstr. 5")";
  }
  return out + "}";
}

std::string number_array(std::size_t count) {
  std::string out = "[0";
  for (std::size_t i = 1; i < count; ++i) out += "," + std::to_string(i * 2654435761 % 100000000);
  return out + "]";
}

std::string nest(std::size_t depth) {
  std::string out;
  for (std::size_t i = 0; i < depth; ++i) out += R"({"a":)";
  out += "1";
  return out + std::string(depth, '}');
}

constexpr std::size_t call_size = 4'000'000;

// A list of short nodes, each link being the last member of its node.
std::string list_call() {
  std::string out = R"({"a_gamma_1":{"next":)";
  std::string closing = "}}";
  for (std::size_t i = 10'000'000; out.size() + closing.size() < call_size; ++i) {
    out += R"({"a_g_dok":"4711-)" + std::to_string(i) + R"(","next":)";
    closing += '}';
  }
  return out + "null" + closing;
}

// Records of ten short members.
std::string record_call() {
  std::string out = R"({"a_put_s_1":[)";
  for (std::size_t i = 10'000; out.size() < call_size; ++i) {
    const std::string number = std::to_string(i);
    out += R"({"faxid":)" + number + R"(,"userid":"MEIER","prio":1,"status":3,"seiten":2,)" +
           R"("comment":"Angebot )" + number + R"(","crezeit":15000)" + number +
           R"(,"empftsi":"+49 89 1234567","empfnr":"0891234567","nettype":1},)";
  }
  out.back() = ']';
  return out + "}";
}

using text_maker = std::string (*)(std::size_t);

// Processor time in seconds for each byte of text.
struct cost {
  double parse = 1e9;
  double print = 1e9;
  double release = 1e9;
};

class stopwatch {
 public:
  double lap() {
    const std::clock_t earlier = start_;
    start_ = std::clock();
    return static_cast<double>(start_ - earlier) / CLOCKS_PER_SEC;
  }

 private:
  std::clock_t start_ = std::clock();
};

void keep_freed_memory() {
#ifdef __GLIBC__
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, -1);
#endif
}

enum class caches { warm, cold };

char other_bytes[128'000'000];

// Cold caches hold nothing but other bytes.
void prepare(caches state) {
  if (state == caches::cold) std::memset(other_bytes, ++other_bytes[0], sizeof other_bytes);
}

// One run; each cost becomes the best that was seen.
void measure(const std::string& text, caches state, cost* best) {
  prepare(state);
  stopwatch watch;
  tree_ptr tree(json_parse(text.c_str()));
  const double parse = watch.lap();
  prepare(state);
  watch.lap();
  text_ptr printed(json_print(tree.get()));
  const double print = watch.lap();
  if (printed == nullptr) std::exit(2);
  const auto parsed_size = static_cast<double>(text.size());
  const auto printed_size = static_cast<double>(std::strlen(printed.get()));
  printed.reset();
  prepare(state);
  watch.lap();
  tree.reset();
  const double release = watch.lap();
  best->parse = std::min(best->parse, parse / parsed_size);
  best->print = std::min(best->print, print / printed_size);
  best->release = std::min(best->release, release / parsed_size);
}

void show_speed(const char* name, const std::string& text) {
  cost best;
  for (int i = 0; i < 20; ++i) measure(text, caches::warm, &best);
  std::printf("%-28s %8.2f MB  parse %7.1f MB/s  print %7.1f MB/s  delete %7.1f MB/s\n", name,
              static_cast<double>(text.size()) / 1e6, 1e-6 / best.parse, 1e-6 / best.print,
              1e-6 / best.release);
}

// The best of many runs, in bytes a second. Any single run may be disturbed.
double document_speed(const std::string& text) {
  double best = 0;
  for (int i = 0; i < 100; ++i) {
    json_document document;
    stopwatch watch;
    if (document.parse(text.c_str()) == nullptr) std::exit(2);
    best = std::max(best, static_cast<double>(text.size()) / watch.lap());
  }
  return best;
}

bool call_is_fast(const char* name, const std::string& text) {
  constexpr double goal = 1e9;
  const double speed = document_speed(text);
  std::printf("%-28s %8.2f MB  parse %7.1f MB/s (at least %.0f) %s\n", name,
              static_cast<double>(text.size()) / 1e6, speed / 1e6, goal / 1e6,
              speed >= goal ? "ok" : "TOO SLOW");
  return speed >= goal;
}

bool ratio_holds(const char* name, const char* step, double small, double large) {
  const double ratio = large / small;
  std::printf("%-28s %-6s 100 MB against 10 MB, time per byte: %.2f\n", name, step, ratio);
  return ratio <= 1.3;
}

// The best of several runs on a document of about `size` bytes.
cost cost_of_size(text_maker make, std::size_t size, int runs) {
  constexpr std::size_t sample = 100'000;
  const std::string text = make(size / (make(sample).size() / sample));
  cost best;
  for (int i = 0; i < runs; ++i) measure(text, caches::cold, &best);
  return best;
}

bool scales(const char* name, text_maker make) {
  const cost small = cost_of_size(make, 10'000'000, 15);
  const cost large = cost_of_size(make, 100'000'000, 6);
  const bool parse = ratio_holds(name, "parse", small.parse, large.parse);
  const bool print = ratio_holds(name, "print", small.print, large.print);
  const bool release = ratio_holds(name, "delete", small.release, large.release);
  return parse && print && release;
}

}  // namespace

int main() {
  keep_freed_memory();
  const bool list = call_is_fast("call with a list", list_call());
  const bool records = call_is_fast("call with records", record_call());
  show_speed("flat object, 10,000 members", flat_object(10'000));
  show_speed("array of 100,000 numbers", number_array(100'000));
  show_speed("nest 100,000 deep", nest(100'000));
  const bool objects = scales("flat object", flat_object);
  const bool numbers = scales("array of numbers", number_array);
  const bool nests = scales("nest", nest);
  return list && records && objects && numbers && nests ? 0 : 1;
}
