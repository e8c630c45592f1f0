#include "reader/screen.h"

#include <clocale>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "reader/options.h"
#include "reader/problems.h"
#include "reader/select.h"
#include "reader/terminal_type.h"
#include "reader/top_page.h"

// After everything else: its macros have common names.
#define NCURSES_NOMACROS 1
#define NCURSES_WIDECHAR 1
#include <ncurses.h>

namespace Show {

namespace {

constexpr short kWarningPair = 1;
constexpr short kAlertPair = 2;

// Takes the terminal, and gives it back as it was.
class Terminal {
 public:
  explicit Terminal(bool colours) : _screen(::newterm(nullptr, stdout, stdin)) {
    if (_screen == nullptr) return;
    ::set_term(_screen);
    ::cbreak();
    ::noecho();
    ::nonl();
    ::keypad(::stdscr, true);
    ::set_escdelay(25);
    ::curs_set(0);
    if (!colours || !::has_colors()) return;
    ::start_color();
    ::use_default_colors();
    ::init_pair(kWarningPair, COLOR_YELLOW, -1);
    ::init_pair(kAlertPair, COLOR_RED, -1);
    _colours = true;
  }
  ~Terminal() {
    if (_screen == nullptr) return;
    ::endwin();
    ::delscreen(_screen);
  }
  Terminal(Terminal const&) = delete;
  Terminal& operator=(Terminal const&) = delete;

  explicit operator bool() const { return _screen != nullptr; }

  std::size_t width() const { return static_cast<std::size_t>(::getmaxx(::stdscr)); }
  std::size_t height() const { return static_cast<std::size_t>(::getmaxy(::stdscr)); }

  void draw(std::vector<Line> const& lines) {
    ::werase(::stdscr);
    int y = 0;
    for (Line const& line : lines) {
      ::wmove(::stdscr, y++, 0);
      for (Span const& span : line) {
        ::wattrset(::stdscr, static_cast<int>(attribute(span.style)));
        ::waddnstr(::stdscr, span.text.c_str(), -1);
      }
    }
    ::wattrset(::stdscr, A_NORMAL);
    ::wrefresh(::stdscr);
  }

  // The next key, or nothing when none came in time.
  std::optional<int> key(double seconds) {
    ::wtimeout(::stdscr, seconds > 0.0 ? static_cast<int>(seconds * 1000.0) + 1 : 0);
    int const key = ::wgetch(::stdscr);
    return key == ERR ? std::nullopt : std::optional(key);
  }

 private:
  chtype attribute(Style style) const {
    switch (style) {
      case Style::plain:
        return A_NORMAL;
      case Style::bold:
        return A_BOLD;
      case Style::dim:
        return A_DIM;
      case Style::warning:
        return _colours ? static_cast<chtype>(COLOR_PAIR(kWarningPair)) : A_UNDERLINE;
      case Style::alert:
        return A_BOLD | (_colours ? static_cast<chtype>(COLOR_PAIR(kAlertPair)) : A_REVERSE);
    }
    return A_NORMAL;
  }

  SCREEN* _screen;
  bool _colours = false;
};

std::optional<Key> keyOf(int code) {
  switch (code) {
    case 'q':
    case 'Q':
      return Key::quit;
    case 's':
    case 'S':
      return Key::sort;
    case 'r':
    case 'R':
      return Key::rates;
    case 'c':
    case 'C':
      return Key::sinceClear;
    case KEY_UP:
    case 'k':
      return Key::up;
    case KEY_DOWN:
    case 'j':
      return Key::down;
    case KEY_PPAGE:
      return Key::pageUp;
    case KEY_NPAGE:
    case ' ':
      return Key::pageDown;
    case KEY_HOME:
      return Key::home;
    case KEY_END:
      return Key::end;
    default:
      return std::nullopt;
  }
}

}  // namespace

std::optional<ExitCode> screenTop(Options const& options,
                                  std::function<Snapshot(double now)> const& take, Pace& pace,
                                  bool colours, std::function<bool()> const& askedToEnd) {
  if (!terminalTypeKnown()) return std::nullopt;
  std::setlocale(LC_CTYPE, "");  // characters beyond ASCII; numbers stay as they are
  Terminal terminal(colours);
  if (!terminal) return std::nullopt;

  TopPage page({.sort = options.sort, .basis = options.basis()});
  ExitCode code = ExitCode::ok;
  auto const update = [&] {
    Snapshot snapshot = take(pace.wallClock());
    auto const unknown = select(snapshot, options.names);
    auto const wrong = problems(snapshot, unknown);
    code = exitCode(wrong);
    std::vector<std::string> texts;
    for (Problem const& problem : wrong) texts.push_back(problem.text);
    page.show(std::move(snapshot), std::move(texts));
  };

  update();
  double next = pace.steadyClock() + options.interval;
  while (!askedToEnd()) {
    terminal.draw(page.lines(terminal.width(), terminal.height()));
    auto const pressed = terminal.key(next - pace.steadyClock());
    if (pressed) {
      auto const key = keyOf(*pressed);  // a change of size comes as a key too
      if (key && !page.press(*key)) break;
    }
    if (double const now = pace.steadyClock(); now >= next) {
      update();
      // The screen may have been stopped for long: what was missed is not made up for.
      next = std::max(next + options.interval, now);
    }
  }
  return code;
}

}  // namespace Show
