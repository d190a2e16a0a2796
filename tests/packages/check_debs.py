"""Installs the three packages for Debian into a fresh root, uses them, purges them: nothing is left.

    check_debs.py WORK libqmx-ic0.deb libqmx-ic-dev.deb qmx-ic.deb

The root is empty but for dpkg's own records, in which the packages of this machine stand as installed: so
dpkg itself settles whether what ours depend on is there.
"""

import pathlib
import re
import shutil
import subprocess
import sys

from installed import check_documents, check_uses, end_with_failures_of, expect, run, tree, version

NAMES = ["libqmx-ic0", "libqmx-ic-dev", "qmx-ic"]


def fresh_root(work):
    root = work / "root"
    shutil.rmtree(root, ignore_errors=True)
    records = root / "var/lib/dpkg"
    for name in ("info", "updates", "triggers"):
        (records / name).mkdir(parents=True)
    ours = re.compile(rf"Package: (?:{'|'.join(NAMES)})\n")
    status = pathlib.Path("/var/lib/dpkg/status").read_text(encoding="utf-8").split("\n\n")
    (records / "status").write_text("\n\n".join(p for p in status if not ours.match(p + "\n")), encoding="utf-8")
    (records / "info/format").write_text("1\n")
    for listed in pathlib.Path("/var/lib/dpkg/info").glob("*.list"):
        if not listed.name.startswith(tuple(f"{n}{end}" for n in NAMES for end in (".", ":"))):
            (records / "info" / listed.name).touch()
    return root


def dpkg(root, work, *arguments):
    return ["dpkg", f"--root={root}", "--force-not-root", "--force-script-chrootless",
            f"--log={work}/dpkg.log", *map(str, arguments)]


def outside_of_records(root):
    return [name for name in tree(root) if not name.startswith("var/lib/dpkg/")]


def main():
    work, debs = pathlib.Path(sys.argv[1]).resolve(), [pathlib.Path(name).resolve() for name in sys.argv[2:]]
    work.mkdir(parents=True, exist_ok=True)
    expect([d.name.split("_")[0] for d in debs] == NAMES, f"the packages are {debs}")
    root = fresh_root(work)
    before = outside_of_records(root)
    expect(not before, f"the root is not empty: {before}")

    refused = subprocess.run(dpkg(root, work, "-i", debs[2]), capture_output=True, text=True, errors="replace")
    expect(refused.returncode and "libqmx-ic0" in refused.stderr, "the program goes in without its library")
    run(*dpkg(root, work, "-i", *debs))
    states = run("dpkg-query", f"--admindir={root}/var/lib/dpkg", "-W", "-f", "${Package} ${db:Status-Abbrev}\n", *NAMES)
    expect(sorted(states.split("\n")) == sorted(["", *(f"{name} ii " for name in NAMES)]), f"after installing: {states}")
    run(*dpkg(root, work, "--verify", *NAMES))

    prefix = root / "usr"
    (libraries,) = {p.parent for p in prefix.glob("lib/*/libQMX_IC.so")}
    check_documents(lambda component: prefix / "share/doc" / {"library": NAMES[0], "program": NAMES[2]}[component],
                    pages=True)
    check_uses(prefix, libraries, work / "use", needs_path=True, PKG_CONFIG_SYSROOT_DIR=str(root))
    for name in ("man/man1/qmx-ic.1.gz", "bash-completion/completions/qmx-ic", "zsh/vendor-completions/_qmx-ic",
                 "fish/vendor_completions.d/qmx-ic.fish"):
        expect((prefix / "share" / name).exists(), f"{name} is not installed")
    number = len(outside_of_records(root))

    run(*dpkg(root, work, "--purge", *NAMES))
    left = outside_of_records(root) + [p.name for n in NAMES for p in root.glob(f"var/lib/dpkg/info/{n}[.:]*")]
    folders = [p.relative_to(root).as_posix() for p in root.iterdir() if p.name != "var"]
    expect(not left and not folders, f"left after the purge: {left + folders}")
    status = (root / "var/lib/dpkg/status").read_text(encoding="utf-8")
    expect(not re.search(rf"^Package: (?:{'|'.join(NAMES)})$", status, re.M), "dpkg still knows the packages")
    print(f"{version()}: {number} files installed, used and purged")


if __name__ == "__main__":
    end_with_failures_of(main)
