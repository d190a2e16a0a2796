"""Many lots: each is studied in a process of its own on a Dask cluster, and each is one row of a table."""

from qmx_ic.lots.run import BatchSummary, Interrupted, batch
from qmx_ic.lots.cluster import SchedulerLost, WorkersLackPackage
from qmx_ic.lots.lot_list import Lot, NoLots, lots_of

__all__ = ["BatchSummary", "Interrupted", "Lot", "NoLots", "SchedulerLost", "WorkersLackPackage", "batch", "lots_of"]
