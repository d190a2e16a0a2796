// The settings that the page shows: the keys of the program's job file, as study/job knows them. A test
// holds the two lists together. kind: text, number, flag, column, choice, range, list, times, threshold.
const text = (key, more) => ({ key, kind: "text", ...more });
const number = (key, more) => ({ key, kind: "number", ...more });
const flag = (key) => ({ key, kind: "flag" });
const choice = (key, ...choices) => ({ key, kind: "choice", choices });
const column = (key) => ({ key, kind: "column" });
const threshold = (key) => ({ key, kind: "threshold" });

export const presets = ["general", "us-soil", "us-asphalt", "europe", "austria", "china-railway", "none"];

export const groups = [
  { table: "columns", fields: ["value", "pass", "x", "y", "time", "machine", "lift", "speed", "direction", "vibration", "frequency", "amplitude", "temperature"].map(column) },
  { table: "units", fields: [text("value")] },
  {
    table: "analysis", fields: [
      number("target"), flag("below"), number("minimum"), number("target_passes"), number("radius"), flag("tests_any_pass"),
      number("lag"), number("lags"), number("window"), flag("all_records"),
    ],
  },
  {
    table: "thresholds", fields: [
      choice("preset", ...presets),
      ...["coverage_percent", "target_share_percent", "target_fraction_percent", "growth_percent", "correlation_r", "correlation_tests",
        "variation_percent", "minimum_share_percent", "floor_share_percent", "floor_fraction_percent", "cell_size"].map(threshold),
    ],
  },
  {
    table: "filter", fields: [
      { key: "value", kind: "range" }, { key: "speed", kind: "range" }, choice("vibration", "on", "off"), choice("direction", "forward", "reverse"),
      { key: "machines", kind: "list" }, { key: "lifts", kind: "list" }, { key: "time", kind: "times" },
    ],
  },
  {
    table: "input", fields: [
      choice("decimal", "auto", "point", "comma"), number("header_line"), text("comment"), { key: "missing", kind: "list" }, text("where"),
      text("crs"), text("project"), text("layer"),
    ],
  },
  { table: "texts", fields: [text("title"), text("project"), text("lot"), text("contractor"), text("inspector"), text("remarks", { isLong: true })] },
  { table: "output", fields: [choice("language", "en", "de"), text("time_stamp")] },
];

// Files are given by what the user drops, and what a run writes is the page's own affair. The value of the
// spot tests stands in their table.
export const elsewhere = [
  ["input", "files"], ["input", "tests"], ["input", "area"], ["input", "excluded_area"], ["filter", "polygon"], ["columns", "tests_value"],
  ["output", "report"], ["output", "document"], ["output", "tables"], ["output", "cells"], ["output", "logo"],
];
export const tables = ["input", "columns", "units", "filter", "analysis", "thresholds", "texts", "output"];
export const roles = ["points", "tests", "area", "excluded_area", "polygon", "logo", "unused"];
export const placeOfRole = { tests: ["input", "tests"], area: ["input", "area"], excluded_area: ["input", "excluded_area"], polygon: ["filter", "polygon"], logo: ["output", "logo"] };
