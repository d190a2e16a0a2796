# Records of QMX_IC for R, as raw vectors, and the functions by .C through qmx_ic_shim.c.
#
# Load the shim first: dyn.load("qmx_ic_shim.so"). 32-bit reals are given as as.single(...).

.qmx_layouts <- list( # the number of 64-bit reals (d), 32-bit reals (f), integers (i), characters (c)
  t_icdata = c(d_x = "d1", d_y = "d1", d_val = "d1", i_passno = "i1", i_reserved = "i1"),
  t_statsout = c(i_flag_target = "i1", i_target_met = "i1", i_numdata = "i1", x_stat = "f15",
                 i_numbins = "i1", x_bin = "f200", x_freq = "f200", x_cumfreq = "f200",
                 x_target = "f1", x_target_pct = "f1", x_achieved_pct = "f1", x_pctlevel = "f2",
                 x_pctvalue = "f2"),
  t_fitout = c(i_degree = "i1", x_coef = "f10", x_rsq = "f1"),
  t_gamvset_user = c(i_nlag = "i1", x_xlag = "f1", x_azm = "f1", x_atol = "f1", x_bandwh = "f1",
                     i_standsills = "i1"),
  t_passbin = c(i_pass_lower = "i1", i_pass_upper = "i1"),
  t_areaflt = c(i_flag_exclusion = "i1", i_numvertices = "i1", d_vert_x = "d10000",
                d_vert_y = "d10000"),
  t_binresult = c(x_coverage = "f1", x_compacted_area = "f1", x_plan_area = "f1"),
  t_event = c(c_description = "c256", c_subfunc = "c256", i_errcode = "i1", i_errclass = "i1"))

.qmx_bytes <- c(d = 8L, f = 4L, i = 4L, c = 1L)
.qmx_kind <- function(field) substr(field, 1, 1)
.qmx_count <- function(field) as.integer(substring(field, 2))
.qmx_size <- function(layout) sum(.qmx_bytes[.qmx_kind(layout)] * .qmx_count(layout))

qmx_record_sizes <- function() vapply(.qmx_layouts, .qmx_size, 0)

# Stops where a record is not laid out as the library's own.
qmx_check_records <- function() {
  in_c <- .C("r_record_sizes", sizes = integer(8))$sizes
  stopifnot(qmx_record_sizes() == c(32, 2504, 48, 24, 8, 160008, 12, 520), in_c == qmx_record_sizes())
}

# n records as one raw vector: each field is a vector of n, or a matrix of n columns; missing ones are 0.
qmx_pack <- function(record, n = 1, ...) {
  layout <- .qmx_layouts[[record]]
  given <- list(...)
  stopifnot(names(given) %in% names(layout))
  parts <- lapply(names(layout), function(name) {
    kind <- .qmx_kind(layout[[name]])
    count <- .qmx_count(layout[[name]])
    value <- if (is.null(given[[name]])) 0 else given[[name]]
    if (kind == "c") return(matrix(as.raw(32), count, n))
    value <- rep_len(if (kind == "i") as.integer(value) else as.double(value), count * n)
    matrix(writeBin(value, raw(), size = .qmx_bytes[[kind]], endian = "little"), ncol = n)
  })
  as.vector(do.call(rbind, parts))
}

# The fields of one record of a raw vector, the first by default; texts without the blanks behind them.
qmx_unpack <- function(record, bytes, k = 1) {
  layout <- .qmx_layouts[[record]]
  size <- .qmx_bytes[.qmx_kind(layout)] * .qmx_count(layout)
  before <- (k - 1) * sum(size) + c(0, cumsum(size))
  fields <- lapply(seq_along(layout), function(i) {
    kind <- .qmx_kind(layout[[i]])
    field <- bytes[seq_len(size[[i]]) + before[[i]]]
    if (kind == "c") return(sub(" +$", "", rawToChar(field)))
    readBin(field, if (kind == "i") "integer" else "numeric", .qmx_count(layout[[i]]),
            size = .qmx_bytes[[kind]], endian = "little")
  })
  stats::setNames(fields, names(layout))
}

# Points or spot tests: positions, values and pass numbers.
qmx_points <- function(x, y, value, pass = 1)
  qmx_pack("t_icdata", length(value), d_x = x, d_y = y, d_val = value, i_passno = pass)

# Calls a function by its name in the header, with its arguments in the header's order and names of
# one's own. Returns them as they are after the call; a failed one stops with the event's text, unless
# stop is FALSE. Numbers are handed over as they are: 1L for an integer, 1 for a 64-bit real.
qmx_call <- function(name, ..., event = TRUE, stop = TRUE) {
  arguments <- list(...)
  if (event) arguments$event <- qmx_pack("t_event")
  result <- do.call(.C, c(paste0("r_", name), arguments,
                          list(outcome = integer(1), NAOK = TRUE))) # NaN and Inf are for the library to judge
  if (event) result$event <- qmx_unpack("t_event", result$event)
  if (stop && result$outcome != 1)
    base::stop(if (event) result$event$c_description else paste(name, "failed"), call. = FALSE)
  result
}
