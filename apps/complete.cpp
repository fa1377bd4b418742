#include "complete.h"

#include <algorithm>

#include "libraries.h"

namespace program {
namespace {

using Words = std::vector<std::string>;

/// A word as typed, without its quotes and backslashes; the last quote may not be closed yet.
std::string unquoted(std::string_view typed) {
  std::string word;
  char quote = 0;
  for (size_t i = 0; i < typed.size(); ++i) {
    const char c = typed[i];
    if (quote ? c == quote : c == '"' || c == '\'') quote = quote ? char{0} : c;
    else if (c == '\\' && quote != '\'' && i + 1 < typed.size()) word += typed[++i];
    else word += c;
  }
  return word;
}

Words namesOf(const Oprj_InitData &data, std::string_view key, bool statePlane) {
  Words names;
  if (key == "nad") return {"27", "83", "harn"};
  if (key == "units") {
    for (int32_t i = 0; const Ocvt_Unit *unit = ocvt_UnitByIndex(i); ++i)
      names.emplace_back(unit->name);
  }
  if (key == "zone" && !statePlane) {
    for (int zone = 1; zone <= 60; ++zone) names.push_back(std::to_string(zone));
  }
  if (key == "zone" && statePlane) {
    for (const auto *zone = data.statePlaneTable; zone; zone = zone->next)
      names.push_back(std::string(zone->stateName) + " " + zone->zoneName);
  }
  for (const auto *entry = data.spheroidTable; entry; entry = entry->next) {
    if (key == "spheroid") names.emplace_back(entry->name);
    for (const auto *datum = entry->datums; datum && key == "datum"; datum = datum->next)
      names.emplace_back(datum->name);
  }
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

void addKeys(const Oprj_QueryEntry *list, Words &keys) {
  for (const Oprj_QueryEntry *entry = list; entry; entry = entry->next) {
    if (entry->key) keys.emplace_back(entry->key);
    for (const auto *branch = entry->conditionalList; branch; branch = branch->next)
      addKeys(branch->queryEntryList, keys);
  }
}

/// Libraries, then the items of the one that is named: @NAME/TITLE.
Words libraryPlaces(const std::string &text, const Console &console) {
  Oint_Toolkit *toolkit = startLibrary(console);
  Words found;
  const size_t slash = text.find('/');
  if (slash == text.npos) {
    for (const std::string &name : libraryNames(toolkit)) found.push_back("@" + name + "/");
    return found;
  }
  const OwnedLibrary library = openLibrary(toolkit, text.substr(1, slash - 1));
  for (int32_t i = 0; i < oprj_ProjectionLibraryCount(library.get()); ++i)
    found.push_back(text.substr(0, slash + 1) +
                    oprj_ProjectionLibraryItem(library.get(), i)->title);
  return found;
}

/// Continuations of the last part of `NAME; key=value; ...`, each with all that stands before it.
Words systems(const std::string &text, const Console &console) {
  if (text.starts_with('@')) return libraryPlaces(text, console);
  const Oprj_InitData &data = referenceData(startLibrary(console));
  Words found;
  const size_t semicolon = text.rfind(';');
  if (semicolon == std::string::npos) {
    for (const auto *query = data.queryTable; query; query = query->next)
      found.emplace_back(query->name);
    return found;
  }
  constexpr int32_t kUtm = 1, kStatePlane = 2;
  const Oprj_Query *asked = data.queryTable;
  const std::string name(trimmed(text.substr(0, text.find(';'))));
  const auto isAsked = [&name](const Oprj_Query &query) {
    return ostr_EqualIgnoringCase(query.name, name.c_str()) ||
           (query.type == OPRJ_INTERNAL && std::to_string(query.number) == name);
  };
  while (asked && !isAsked(*asked)) asked = asked->next;
  const auto isNumber = [asked](int32_t number) {
    return asked && asked->type == OPRJ_INTERNAL && asked->number == number;
  };
  const size_t begin = std::min(text.find_first_not_of(' ', semicolon + 1), text.size());
  const std::string before = text.substr(0, begin) + (semicolon + 1 == text.size() ? " " : "");
  if (const size_t equals = text.find('=', begin); equals != std::string::npos) {
    const std::string key(trimmed(lower(text.substr(begin, equals - begin))));
    for (const std::string &value : namesOf(data, key, isNumber(kStatePlane)))
      found.push_back(text.substr(0, equals + 1) + value);
    return found;
  }
  Words keys = {"datum", "spheroid", "a", "b", "units"};
  if (isNumber(kUtm)) keys.insert(keys.end(), {"zone", "south"});
  if (isNumber(kStatePlane)) keys.insert(keys.end(), {"zone", "nad"});
  if (asked) addKeys(asked->proParamsQuerylist, keys);
  for (const std::string &key : keys) found.push_back(before + key + "=");
  return found;
}

/// What the type of an option's value says: choices, a coordinate system, a file.
Words valuesOf(const CLI::Option &option, const std::string &begun, const Console &console) {
  const std::string type = option.get_type_name();
  Words found;
  if (const size_t open = type.find('{'); open != std::string::npos) {
    for (size_t begin = open + 1; begin < type.size();) {
      const size_t end = type.find_first_of(",}", begin);
      found.push_back(type.substr(begin, end - begin));
      begin = end == std::string::npos || type[end] == '}' ? type.size() : end + 1;
    }
  } else if (type == "CS") {
    found = systems(begun, console);
  } else if (type == "LIBRARY") {
    found = libraryNames(startLibrary(console));
  } else if (type.starts_with("FILE") || type == "OUT") {
    found = {kFiles};
  }
  return found;
}

/// The commands of a command, or the one of a name.
std::vector<const CLI::App *> subcommandsOf(const CLI::App &app, const std::string &name = "") {
  return app.get_subcommands(
      [&name](const CLI::App *command) { return name.empty() || command->get_name() == name; });
}

/// Whether what stands behind an option must be its value.
bool needsValue(const CLI::Option &option) {
  return option.get_items_expected_min() > 0 && !option.get_type_name().starts_with('[');
}

}  // namespace

std::vector<std::string> completions(CLI::App &app, std::vector<std::string> words,
                                     const Console &console) {
  if (words.empty()) words.emplace_back();
  for (std::string &word : words) word = unquoted(word);
  const std::string word = words.back();
  const CLI::App *command = nullptr;
  const CLI::Option *asking = nullptr;  // for its value
  size_t given = 0;                     // words that are no options nor their values
  for (size_t i = 0; i + 1 < words.size(); ++i) {
    const bool plain = !asking && !words[i].starts_with('-');
    if (plain && given == 0) {
      const auto found = subcommandsOf(command ? *command : app, words[i]);
      if (!found.empty()) command = found.front();
      else if (!command) return {};
      if (!found.empty()) continue;
    }
    const CLI::Option *option =
        command && !asking ? command->get_option_no_throw(words[i]) : nullptr;
    if (plain) ++given;
    asking = option && needsValue(*option) ? option : nullptr;
  }

  Words all;
  if (asking) {
    all = valuesOf(*asking, word, console);
  } else if (word.starts_with('-')) {
    for (const CLI::App *each : {static_cast<const CLI::App *>(&app), command}) {
      if (!each) continue;
      for (const CLI::Option *option : each->get_options()) {
        for (const std::string &name : option->get_lnames()) all.push_back("--" + name);
      }
    }
  } else if (!command) {
    for (const CLI::App *each : subcommandsOf(app)) all.push_back(each->get_name());
  } else {
    // the last one takes what further words there are
    const std::vector<const CLI::Option *> places =
        command->get_options([](const CLI::Option *option) { return option->get_positional(); });
    if (!places.empty()) all = valuesOf(*places[std::min(given, places.size() - 1)], word, console);
    for (const CLI::App *each : subcommandsOf(*command)) {
      if (given == 0) all.push_back(each->get_name());
    }
  }
  if (all == Words{kFiles}) return all;
  std::sort(all.begin(), all.end());
  all.erase(std::unique(all.begin(), all.end()), all.end());
  std::erase_if(all,
                [&](const std::string &each) { return !lower(each).starts_with(lower(word)); });
  return all;
}

const char *completionScript(std::string_view shell) {
  if (shell == "bash")
    return R"(# bash completion of oprj
_oprj() {
  local IFS=$'\n' found
  found=($(oprj __complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null))
  if [ "${found[0]}" = '<files>' ]; then
    compopt -o filenames
    found=($(compgen -f -- "$2"))
  else
    case "${found[0]}" in *' '*) compopt -o filenames ;; esac
    case "${found[0]}" in *=) compopt -o nospace ;; esac
  fi
  COMPREPLY=("${found[@]}")
}
complete -F _oprj oprj
)";
  if (shell == "zsh")
    return R"(#compdef oprj
_oprj() {
  local -a found
  found=("${(@f)$(oprj __complete "${(@)words[2,CURRENT]}" 2>/dev/null)}")
  if [[ $found[1] == '<files>' ]]; then
    _files
  elif [[ $found[1] == *= ]]; then
    compadd -S '' -M 'm:{a-zA-Z}={A-Za-z}' -- "${found[@]}"
  elif [[ -n $found[1] ]]; then
    compadd -M 'm:{a-zA-Z}={A-Za-z}' -- "${found[@]}"
  fi
}
if [[ $funcstack[1] == _oprj ]]; then _oprj "$@"; else compdef _oprj oprj; fi
)";
  return R"(# fish completion of oprj
function __oprj_complete
  set -l words (commandline -opc) (commandline -ct)
  set -l found (oprj __complete -- $words[2..-1] 2>/dev/null)
  if test "$found[1]" = '<files>'
    __fish_complete_path (commandline -ct)
  else
    printf '%s\n' $found
  end
end
complete -c oprj -f -a '(__oprj_complete)'
)";
}

}  // namespace program
