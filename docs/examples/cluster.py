"""Develops a recording into an array of Zarr, on two processes of this machine or on a cluster.

usage: cluster.py RECORDING WIDTHxHEIGHT FORMAT STORE [SCHEDULER]

Run again after an interruption, it makes what is missing. SCHEDULER is the address of Dask's, such as
tcp://node1:8786; its workers need the recording and the store at the same place, and the module trvil.
"""
import sys
import tempfile

import dask
import trvil
from distributed import Client, LocalCluster

# Dask has workers return memory to the system at once, and blocks of frames are large: fetching their pages
# again takes as long as converting. These are the C library's own limits.
KEEP_MEMORY = {"MALLOC_TRIM_THRESHOLD_": 256 << 20, "MALLOC_MMAP_THRESHOLD_": 32 << 20}


def local_cluster(folder, workers=2):
    """Processes of one thread each, which listen on loopback only, at ports of the system's choice."""
    with dask.config.set({"distributed.nanny.pre-spawn-environ": KEEP_MEMORY}):
        return LocalCluster(n_workers=workers, threads_per_worker=1, host="127.0.0.1", dashboard_address=None,
                            local_directory=folder)


def develop(client, path, size, format, store):
    pictures = trvil.open(path, size, format).developed(trvil.Settings(curve="srgb"), to="RGB24")
    threads = sum(client.nthreads().values())
    made = pictures.to_zarr(store, executor=client.get_executor(pure=False), ahead=4 * threads)
    print(f"{made} frames developed, {len(pictures)} are in {store}")


def main(path, size, format, store, scheduler=None):
    if scheduler:
        with Client(scheduler) as client:
            return develop(client, path, size, format, store)
    with tempfile.TemporaryDirectory() as folder, local_cluster(folder) as cluster, Client(cluster) as client:
        return develop(client, path, size, format, store)


if __name__ == "__main__":
    main(*sys.argv[1:])
