"""The notebook of the guide runs from its first cell to its last."""

import pathlib

import nbclient
import nbformat

NOTEBOOK = pathlib.Path(__file__).parents[2] / "docs" / "python-example.ipynb"


def test_every_cell_runs_and_every_analysis_is_drawn() -> None:
    notebook = nbformat.read(NOTEBOOK, as_version=4)
    nbclient.NotebookClient(notebook, timeout=120, kernel_name="python3").execute()
    outputs = [out for cell in notebook.cells for out in cell.get("outputs", [])]
    drawn = [out for out in outputs if "image/png" in out.get("data", {})]
    assert len(drawn) == 4
    shown = "\n".join(out.get("data", {}).get("text/plain", "") for out in outputs)
    assert "9600 read, 9600 used" in shown
