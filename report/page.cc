#include "report/page.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "report/verdicts.h"

namespace readkit::report {
namespace {

using Json = nlohmann::ordered_json;

// ---- HTML --------------------------------------------------------------------------------------

std::string escaped(std::string_view text) {
  std::string html;
  for (const char c : text) {
    switch (c) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      default:
        html += c;
    }
  }
  return html;
}

std::string text_of(const Json& value) {
  if (value.is_string()) return escaped(value.get<std::string>());
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  return number_text(value);
}

// 1234567 as 1,234,567.
std::string grouped(const Json& number) {
  std::string digits = number.dump();
  for (std::size_t i = digits.size(); i > 3; i -= 3) digits.insert(i - 3, ",");
  return digits;
}

std::string cell(const std::string& html) { return "<td>" + html + "</td>"; }
std::string head(const std::string& html) { return "<th scope=\"col\">" + html + "</th>"; }

// An attribute by which the page's script finds what belongs to a sample.
std::string of_sample(std::size_t index) {
  return " data-sample=\"" + std::to_string(index) + "\"";
}

// A status is a word, and a colour and a sign by its class.
std::string badge(const Json& status) {
  const std::string word = text_of(status);
  return "<span class=\"status " + word + "\">" + word + "</span>";
}

// ---- Tables of numbers -------------------------------------------------------------------------

// The titles and rows of a sample's table.
struct Table {
  std::vector<std::string> titles;
  std::vector<std::vector<Json>> rows;
};

std::string positions_text(const Json& position) {
  const std::string from = position["from"].dump();
  const std::string to = position["to"].dump();
  return from == to ? from : from + "-" + to;
}

// A table with a row for each element of `list`: what `first` says of it, and its `keys`.
Table rows_of(const Json& list, const std::string& title,
              const std::function<Json(const Json&)>& first, const std::vector<std::string>& keys) {
  Table table{{title}, {}};
  table.titles.insert(table.titles.end(), keys.begin(), keys.end());
  for (const Json& element : list) {
    std::vector<Json>& row = table.rows.emplace_back();
    row.push_back(first(element));
    for (const std::string& key : keys) row.push_back(element[key]);
  }
  return table;
}

Table position_table(const Json& sample) {
  return rows_of(sample["positions"], "position", positions_text,
                 {"reads", "mean", "p10", "p25", "p50", "p75", "p90"});
}

// One column for each quality that occurs, ascending.
Table heatmap_table(const Json& sample) {
  std::map<int, std::string> qualities;
  for (const Json& position : sample["positions"]) {
    for (const auto& [quality, count] : position["counts"].items()) {
      qualities.emplace(std::stoi(quality), quality);
    }
  }
  Table table{{"position"}, {}};
  for (const auto& [number, quality] : qualities) table.titles.push_back(quality);
  for (const Json& position : sample["positions"]) {
    std::vector<Json>& row = table.rows.emplace_back();
    row.emplace_back(positions_text(position));
    for (const auto& [number, quality] : qualities) {
      row.push_back(position["counts"].value(quality, Json(0)));
    }
  }
  return table;
}

Table composition_table(const Json& sample) {
  Table table{{"position", "A", "C", "G", "T", "other"}, {}};
  for (const Json& position : sample["positions"]) {
    std::vector<Json>& row = table.rows.emplace_back();
    row.emplace_back(positions_text(position));
    for (const Json& count : position["bases"]) row.push_back(count);
  }
  return table;
}

Table read_quality_table(const Json& sample) {
  return rows_of(sample["read_quality"], "average quality",
                 [](const Json& bin) { return bin["quality"]; }, {"reads"});
}

Table gc_table(const Json& sample) {
  return rows_of(sample["gc"], "GC in percent", positions_text, {"reads"});
}

Table length_table(const Json& sample) {
  return rows_of(sample["length"]["histogram"], "length", positions_text, {"reads"});
}

std::string html_of(const Table& table, const std::string& caption, std::size_t sample) {
  std::string html =
      "<table" + of_sample(sample) + "><caption>" + caption + "</caption><thead><tr>";
  for (const std::string& title : table.titles) html += head(title);
  html += "</tr></thead><tbody>\n";
  for (const std::vector<Json>& row : table.rows) {
    html += "<tr>";
    for (const Json& value : row) html += cell(text_of(value));
    html += "</tr>\n";
  }
  return html + "</tbody></table>\n";
}

std::string tables(const Json& document, Table (*table_of)(const Json&)) {
  std::string html;
  std::size_t index = 0;
  for (const Json& sample : document["samples"]) {
    html += html_of(table_of(sample), text_of(sample["name"]), index);
    ++index;
  }
  return html;
}

// ---- The other parts ---------------------------------------------------------------------------

// Where the page shows what a verdict judges.
const char* section_of(const std::string& verdict) {
  if (verdict == "read_quality") return "#read-quality";
  if (verdict == "q30") return "#heatmap";
  if (verdict == "base_balance" || verdict == "other_letters") return "#composition";
  if (verdict == "gc_shape") return "#gc";
  return verdict == "reads" ? "#length" : "#position-quality";
}

std::string length_text(const Json& length) {
  const std::string min = grouped(length["min"]);
  return length["min"] == length["max"] ? min : min + " to " + grouped(length["max"]);
}

// The titles of the verdicts that are not "pass".
std::string findings(const Json& sample) {
  std::string html;
  for (const Json& verdict : sample["verdicts"]) {
    if (verdict["status"] == "pass") continue;
    if (!html.empty()) html += ", ";
    html += text_of(verdict["title"]);
  }
  return html;
}

std::string summary(const Json& document) {
  std::string html = "<table class=\"summary\"><thead><tr>";
  for (const char* title : {"Sample", "Verdict", "Reads", "Bases", "Length", "Mean quality", "Q20",
                            "Q30", "GC", "Encoding", "Not passed"}) {
    html += head(title);
  }
  html += "</tr></thead><tbody>\n";
  std::size_t index = 0;
  for (const Json& sample : document["samples"]) {
    html += "<tr" + of_sample(index) + "><th scope=\"row\">" + text_of(sample["name"]) + "</th>";
    html += cell("<a href=\"#verdicts-" + std::to_string(index) + "\">" + badge(sample["status"]) +
                 "</a>");
    html += cell(grouped(sample["reads"])) + cell(grouped(sample["bases"]));
    html += cell(length_text(sample["length"])) + cell(text_of(sample["mean_quality"]));
    for (const char* key : {"q20_percent", "q30_percent", "gc_percent"}) {
      html += cell(text_of(sample[key]) + "%");
    }
    const Json& encoding = sample["encoding"];
    html += "<td title=\"" + text_of(encoding["text"]) + "\">" + text_of(encoding["name"]) +
            (encoding["certain"].get<bool>() ? "" : " (uncertain)") + "</td>" +
            cell(findings(sample)) + "</tr>\n";
    ++index;
  }
  return html + "</tbody></table>\n";
}

std::string verdict_item(const Json& verdict) {
  return "<li>" + badge(verdict["status"]) + "<a href=\"" +
         section_of(verdict["name"].get<std::string>()) + "\">" + text_of(verdict["title"]) +
         "</a><span><strong>" + escaped(value_text(verdict)) + "</strong> " +
         text_of(verdict["text"]) + " <small>" + escaped(limits_text(verdict)) +
         "</small></span></li>\n";
}

// Those of many samples are closed: the summary has what matters of them.
std::string verdicts(const Json& document) {
  const std::string open = document["samples"].size() > 2 ? "" : " open";
  std::string html;
  std::size_t index = 0;
  for (const Json& sample : document["samples"]) {
    html += "<details class=\"verdicts\"" + of_sample(index) + open + "><summary>" +
            text_of(sample["name"]) + " " + badge(sample["status"]) +
            "</summary><ul id=\"verdicts-" + std::to_string(index) + "\">\n";
    for (const Json& verdict : sample["verdicts"]) html += verdict_item(verdict);
    html += "</ul></details>\n";
    ++index;
  }
  return html;
}

// Shown by the page's script, which acts on it.
std::string sample_choice(const Json& document) {
  std::string html;
  std::size_t index = 0;
  for (const Json& sample : document["samples"]) {
    html += "<label><input type=\"checkbox\" checked" + of_sample(index) + "><span>" +
            text_of(sample["name"]) + "</span></label>\n";
    ++index;
  }
  return html;
}

// A setting in words, and the words for one that was not given.
struct SettingWords {
  const char* key;
  const char* words;
  const char* none;
};
constexpr SettingWords kSettings[] = {
    {"encoding", "Encoding asked for", ""},
    {"from", "First position", ""},
    {"to", "Last position", "the end of a read"},
    {"min_length", "Least length", ""},
    {"min_average", "Least average quality", "any"},
    {"first", "Reads of each file", "all"},
    {"mapped_only", "Only records with a reference", ""},
    {"position_groups", "Positions of long reads grouped", ""},
};

std::string settings(const Json& document) {
  std::string html = "<dl>";
  const auto entry = [&](const std::string& name, const std::string& value) {
    html += "<dt>" + name + "</dt><dd>" + value + "</dd>\n";
  };
  entry("Made by", "readkit " + text_of(document["readkit"]));
  for (const SettingWords& setting : kSettings) {
    const Json& value = document["settings"][setting.key];
    entry(setting.words, value.is_null() ? setting.none : text_of(value));
  }
  for (const Json& sample : document["samples"]) {
    entry(text_of(sample["name"]), text_of(sample["file"]) + " (" + text_of(sample["kind"]) + ", " +
                                       text_of(sample["encoding"]["text"]) + ")");
  }
  return html + "</dl>\n";
}

// JSON that cannot end the script element that it stands in.
std::string document_text(const Json& document) {
  std::string text;
  for (const char c : document.dump(-1, ' ', false, Json::error_handler_t::replace)) {
    if (c == '<') {
      text += "\\u003c";
    } else {
      text += c;
    }
  }
  return text;
}

std::string part(const std::string& name, const Json& document) {
  if (name == "summary") return summary(document);
  if (name == "verdicts") return verdicts(document);
  if (name == "samples") return sample_choice(document);
  if (name == "position-quality") return tables(document, position_table);
  if (name == "heatmap") return tables(document, heatmap_table);
  if (name == "read-quality") return tables(document, read_quality_table);
  if (name == "composition") return tables(document, composition_table);
  if (name == "gc") return tables(document, gc_table);
  if (name == "length") return tables(document, length_table);
  if (name == "settings") return settings(document);
  return name == "document" ? document_text(document) : "";
}

}  // namespace

std::string quality_page(const Json& document, const std::string& page) {
  constexpr std::string_view kBegin = "<!--readkit:";
  constexpr std::string_view kEnd = "-->";
  std::string html;
  std::size_t done = 0;
  for (;;) {
    const std::size_t begin = page.find(kBegin, done);
    const std::size_t end = begin == std::string::npos ? begin : page.find(kEnd, begin);
    if (end == std::string::npos) return html + page.substr(done);
    html += page.substr(done, begin - done);
    html += part(page.substr(begin + kBegin.size(), end - begin - kBegin.size()), document);
    done = end + kEnd.size();
  }
}

}  // namespace readkit::report
