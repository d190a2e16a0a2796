# Statistics of ten points: a first call from R. Rscript statistics.R path/to/qmx_ic_shim.so
#
# It prints the lines of statistics.c.
source("qmx_ic.R")
dyn.load(commandArgs(trailingOnly = TRUE)[1])

names <- c("mean", "variance", "standard deviation", "skewness", "excess kurtosis", "minimum",
           "maximum", "range", "coefficient of variation", "values", "mean, lower limit",
           "mean, upper limit", "variance, lower limit", "variance, upper limit", "unused")
print_number <- function(name, number) cat(sprintf("%-26s%14.4f\n", name, number), sep = "")

qmx_check_records()
cat("records", sprintf("%.0f", qmx_record_sizes()))
cat("\n")
# [first call]
values <- c(61.5, 72.0, 70.5, 66.0, 81.0, 75.5, 58.0, 69.5, 77.0, 64.5)
points <- qmx_points(x = 0.3 * (0:9), y = 0, values, pass = 4)
wanted <- qmx_pack("t_statsout",
                   i_flag_target = 1,
                   x_target = 70,     # unit of the measure
                   x_target_pct = 60, # share of the points that must reach it
                   x_pctlevel = c(10, 90))

called <- qmx_call("ICdata_stats", 2L, 2L, 10L, points, out = wanted)
statistics <- qmx_unpack("t_statsout", called$out)
print_number("mean", statistics$x_stat[1])
# [first call]
print_number(names[-1], statistics$x_stat[-1])
print_number("value at 10 %", statistics$x_pctvalue[1])
print_number("value at 90 %", statistics$x_pctvalue[2])
print_number("above 70, percent", statistics$x_achieved_pct)
cat("target", if (statistics$i_target_met == 1) "met\n" else "missed\n")

# Two points are too few: the event says so.
failed <- qmx_call("ICdata_stats", 2L, 2L, 2L, points, out = wanted, stop = FALSE)
stopifnot(failed$outcome == 3)
cat("two points: ", failed$event$c_description, "\n", sep = "")
cat("failed in: ", failed$event$c_subfunc, "\n", sep = "")
cat(sprintf("code %d, class %d\n", failed$event$i_errcode, failed$event$i_errclass))
