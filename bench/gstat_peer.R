# The sample semivariogram of the points in a file, by gstat. Each line that comes in is one run; out go
# its processor time, the peak memory beyond what stood before, mean distances and semivariances.
suppressMessages(library(gstat))
file <- file(commandArgs(TRUE)[1], "rb")
head <- readBin(file, "double", 3, endian = "little")
columns <- lapply(1:3, function(k) readBin(file, "double", head[1], endian = "little"))
close(file)
points <- data.frame(x = columns[[1]], y = columns[[2]], value = columns[[3]])
rm(columns)
borders <- (0:head[3] + 0.5) * head[2] # classes centred on multiples of the lag

status <- function(name) { # bytes
  line <- grep(paste0("^", name, ":"), readLines("/proc/self/status"), value = TRUE)
  1024 * as.numeric(gsub("[^0-9]", "", line))
}

lines <- file("stdin", "r")
cat("ready\n")
while (length(readLines(lines, 1)) == 1) {
  invisible(gc())
  before <- status("VmRSS")
  try(cat("5", file = "/proc/self/clear_refs"), silent = TRUE)
  start <- proc.time()
  found <- variogram(value ~ 1, ~ x + y, points, boundaries = borders)
  took <- proc.time() - start
  cat("took", took[["user.self"]] + took[["sys.self"]], status("VmHWM") - before, "\n")
  cat("distance", format(found$dist, digits = 15), "\n")
  cat("gamma", format(found$gamma, digits = 15), "\n")
}
