# One call of each function on a small lot. Rscript eight_calls.R path/to/qmx_ic_shim.so
#
# It prints the lines of eight_calls.c.
source("qmx_ic.R")
dyn.load(commandArgs(trailingOnly = TRUE)[1])
qmx_check_records()
print_number <- function(name, number) cat(sprintf("%-26s%14.4f\n", name, number), sep = "")

cells <- 120L
passes <- 4L
records <- cells * passes
i <- 0:(cells - 1)
x <- 0.5 * (i %% 20)
y <- 0.5 * (i %/% 20)
k <- rep(1:passes, each = cells)
values <- 25 + 10 * k - k * k + (7 * i) %% 11
lot <- qmx_points(rep(x, passes), rep(y, passes), values, k)
last <- qmx_points(x, y, values[k == passes], passes)

wanted <- qmx_pack("t_statsout", i_flag_target = 1, x_target = 49, x_target_pct = 90)
out <- qmx_unpack("t_statsout", qmx_call("ICdata_stats", 2L, 2L, cells, last, out = wanted)$out)
print_number("mean", out$x_stat[1])
print_number("above the target", out$x_achieved_pct)

curve <- qmx_call("IC_compact_curve_b", passes, 1L, records, lot, used = 0L, means = double(passes),
                  x = double(100), y = double(100), fit = qmx_pack("t_fitout"))
print_number("passes", curve$used)
print_number("mean of pass 1", curve$means[1])
print_number("mean of the last pass", curve$means[curve$used])
print_number("quadratic term", qmx_unpack("t_fitout", curve$fit)$x_coef[3])
print_number("end of the curve", curve$y[100])

m <- 0:9
polynomial <- qmx_call("call_polycurvefit", 10L, 2L, as.single(m), as.single(5 + m * m + m %% 2),
                       x = as.single(numeric(100)), y = as.single(numeric(100)), event = FALSE)
print_number("start of the polynomial", polynomial$y[1])
print_number("end of the polynomial", polynomial$y[100])

settings <- qmx_pack("t_gamvset_user", i_nlag = 6, x_xlag = 0.5, x_atol = 90, x_bandwh = 10,
                     i_standsills = 2)
variogram <- qmx_call("IC_semivariogram", cells, last, settings, distances = double(8),
                      semivariances = double(8), model = double(2), x = double(100),
                      y = double(100), summary = as.single(numeric(4)))
print_number("distance of class 3", variogram$distances[4])
print_number("semivariance of class 3", variogram$semivariances[4])
print_number("range of the model", variogram$model[1])
print_number("sill of the model", variogram$model[2])
print_number("range read off", variogram$summary[1])

print_selection <- function(name, selection) {
  print_number(name, selection$found)
  print_number("first, from 0", selection$indices[1])
  print_number("last", selection$indices[selection$found])
}
print_selection("in the circle", qmx_call("find_points_in_circle", cells, 1, c(2, 1), x, y,
                                          found = 0L, indices = integer(cells)))
print_selection("in the polygon",
                qmx_call("find_points_in_polygon", 4L, cells, c(1.1, 4.1, 4.1, 1.1),
                         c(0.6, 0.6, 2.1, 2.1), x, y, found = 0L, indices = integer(cells)))

tests <- qmx_points(c(1, 4, 7, 4), c(1, 1, 1, 2), c(10, 12, 15, 11), pass = 4)
spots <- qmx_call("IC_PointsData_stats", records, 4L, 1, lot, tests,
                  stats = qmx_pack("t_statsout", 4), line = as.single(numeric(3)), valid = 0L,
                  list = integer(4), predicted = double(4))
print_number("spot tests with data", spots$valid)
print_number("records round the first", qmx_unpack("t_statsout", spots$stats)$i_numdata)
print_number("intercept", spots$line[1])
print_number("slope", spots$line[2])
print_number("R-squared, percent", spots$line[3])
print_number("predicted", spots$predicted[spots$list[1]])

bins <- qmx_pack("t_passbin", 2, i_pass_lower = c(1, 3), i_pass_upper = c(2, -1))
outline <- function(vertices) c(vertices, numeric(10000 - length(vertices)))
areas <- c(qmx_pack("t_areaflt", i_flag_exclusion = 2, i_numvertices = 4,
                    d_vert_x = outline(c(0, 10, 10, 0)), d_vert_y = outline(c(0, 0, 3, 3))),
           qmx_pack("t_areaflt", i_flag_exclusion = 1, i_numvertices = 4,
                    d_vert_x = outline(c(1, 2, 2, 1)), d_vert_y = outline(c(1, 1, 2, 2))))
counts <- qmx_points(x, y, 1 + i %% 4)
coverage <- qmx_call("IC_coverage", as.single(c(0.5, 0.5)), cells, 2L, 2L, bins, counts, areas,
                     results = qmx_pack("t_binresult", 2))
print_number("1 or 2 passes, percent", qmx_unpack("t_binresult", coverage$results)$x_coverage)
print_number("3 and more, area", qmx_unpack("t_binresult", coverage$results, 2)$x_compacted_area)
print_number("area of the plan", qmx_unpack("t_binresult", coverage$results)$x_plan_area)
