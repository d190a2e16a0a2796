# Semivariogram and models of the points in a CSV (x, y, value) by gstat: Rscript gstat_models.R CSV LAG LAGS.
# Without a file's name: writes the river-soil samples of the package sp as such a CSV.
# Lines out: "lag PAIRS DISTANCE SEMIVARIANCE", and "fit WEIGHTS MODEL" followed by nugget, partial sill,
# scale and weighted sum of squares, first as gstat finds them, then as optim does from there on with
# the model's values by gstat and no parameter below 0.
suppressMessages(library(gstat))
options(warn = -1)
given <- commandArgs(TRUE)
if (length(given) == 0) {
  data(meuse, package = "sp")
  write.csv(data.frame(x = meuse$x, y = meuse$y, value = log(meuse$zinc)), row.names = FALSE)
  quit()
}
points <- read.csv(given[1])
points$x <- points$x - round(mean(points$x))
points$y <- points$y - round(mean(points$y))
lag <- as.numeric(given[2])
borders <- (0:as.integer(given[3]) + 0.5) * lag # classes centred on multiples of the lag
found <- variogram(value ~ 1, ~ x + y, points, boundaries = borders)
cat(sprintf("lag %d %.15g %.15g\n", as.integer(found$np), found$dist, found$gamma), sep = "")

shapes <- list(c("exponential", "Exp", 0.5), c("spherical", "Sph", 0.5), c("gaussian", "Gau", 0.5),
               c("matern_3_2", "Mat", 1.5), c("matern_5_2", "Mat", 2.5))
for (weights in c("equal", "pairs", "pairs-by-distance")) for (shape in shapes) {
  method <- c(equal = 6, pairs = 1, "pairs-by-distance" = 7)[[weights]]
  weight <- list(rep(1, nrow(found)), found$np, found$np / found$dist^2)[[match(method, c(6, 1, 7))]]
  model <- function(p) vgm(p[2], shape[2], p[3], p[1], kappa = as.numeric(shape[3]))
  squares <- function(p)
    sum(weight * (found$gamma - variogramLine(model(p), dist_vector = found$dist)$gamma)^2)
  top <- max(found$gamma)
  longest <- max(found$dist)
  best <- NULL
  for (range in longest * c(0.03, 0.1, 0.3)) for (nugget in c(TRUE, FALSE)) {
    start <- if (nugget) model(c(0.1 * top, 0.9 * top, range)) else
      vgm(0.9 * top, shape[2], range, kappa = as.numeric(shape[3]))
    fit <- start
    for (again in 1:2)
      fit <- tryCatch(fit.variogram(found, fit, fit.method = method), error = function(e) fit)
    p <- if (nugget) c(fit$psill, fit$range[2]) else c(0, fit$psill, fit$range)
    if (all(is.finite(p)) && min(p) >= 0 && p[3] > 0 && (is.null(best) || squares(p) < squares(best)))
      best <- p
  }
  if (is.null(best)) next
  polished <- list(par = best, value = squares(best))
  for (again in 1:2)
    polished <- tryCatch(optim(polished$par, squares, method = "L-BFGS-B",
                               lower = c(0, 0, longest / 1e4),
                               control = list(parscale = c(top / 10, top, longest / 10), factr = 1,
                                              fnscale = max(polished$value, 1e-300), maxit = 100)),
                         error = function(e) polished)
  cat("fit", weights, shape[1], format(c(best, squares(best), polished$par, polished$value),
                                       digits = 10), "\n")
}
