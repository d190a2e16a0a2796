// Files as the program meets them: those of the user are read in slices, those that it writes grow in memory.
import { Directory, Fd, Inode, wasi } from "@bjorn3/browser_wasi_shim";

// A nanosecond for each file, so that one that is replaced differs from the one before.
let written = 0n;

function statOf(file, size, time) {
  const stat = new wasi.Filestat(file.ino, wasi.FILETYPE_REGULAR_FILE, size);
  stat.mtim = time;
  return stat;
}

class OpenFile extends Fd {
  constructor(file, atEnd) {
    super();
    this.file = file;
    this.place = atEnd ? file.size : 0;
  }
  fd_fdstat_get() {
    return { ret: wasi.ERRNO_SUCCESS, fdstat: new wasi.Fdstat(wasi.FILETYPE_REGULAR_FILE, 0) };
  }
  fd_filestat_get() {
    return { ret: wasi.ERRNO_SUCCESS, filestat: this.file.stat() };
  }
  fd_filestat_set_size(size) {
    return this.file.resize(Number(size));
  }
  fd_read(size) {
    const answer = this.fd_pread(size, BigInt(this.place));
    this.place += answer.data.length;
    return answer;
  }
  fd_pread(size, offset) {
    try {
      return { ret: wasi.ERRNO_SUCCESS, data: this.file.read(Number(offset), size) };
    } catch { // the file was moved, changed or taken away while it is read
      return { ret: wasi.ERRNO_IO, data: new Uint8Array() };
    }
  }
  fd_write(data) {
    const answer = this.fd_pwrite(data, BigInt(this.place));
    this.place += answer.nwritten;
    return answer;
  }
  fd_pwrite(data, offset) {
    const ret = this.file.write(Number(offset), data);
    return { ret, nwritten: ret === wasi.ERRNO_SUCCESS ? data.length : 0 };
  }
  fd_seek(offset, whence) {
    const from = { [wasi.WHENCE_SET]: 0, [wasi.WHENCE_CUR]: this.place, [wasi.WHENCE_END]: this.file.size }[whence];
    const place = from === undefined ? -1 : from + Number(offset);
    if (place < 0) return { ret: wasi.ERRNO_INVAL, offset: 0n };
    this.place = place;
    return { ret: wasi.ERRNO_SUCCESS, offset: BigInt(place) };
  }
  fd_tell() {
    return { ret: wasi.ERRNO_SUCCESS, offset: BigInt(this.place) };
  }
}

// A file of the user: `source` has a size and gives the bytes from one place to another. Small readings
// are served from one slice.
const sliceSize = 1 << 22;

export class SlicedFile extends Inode {
  constructor(source) {
    super();
    this.source = source;
    this.slice = new Uint8Array();
    this.start = 0;
  }
  get size() {
    return this.source.size;
  }
  read(from, size) {
    const end = Math.min(from + size, this.size);
    if (from >= end) return new Uint8Array();
    if (from < this.start || from >= this.start + this.slice.length) {
      this.slice = this.source.read(from, Math.min(from + sliceSize, this.size));
      this.start = from;
      if (this.slice.length === 0) throw new Error("the file is shorter than it was");
    }
    return this.slice.subarray(from - this.start, end - this.start); // which may be fewer than asked for
  }
  write() {
    return wasi.ERRNO_BADF;
  }
  resize() {
    return wasi.ERRNO_BADF;
  }
  stat() {
    return statOf(this, BigInt(this.size), 0n);
  }
  path_open(flags, rights) {
    const isWritten = (flags & wasi.OFLAGS_TRUNC) !== 0 || (rights & BigInt(wasi.RIGHTS_FD_WRITE)) !== 0n;
    if (isWritten) return { ret: wasi.ERRNO_ACCES, fd_obj: null };
    return { ret: wasi.ERRNO_SUCCESS, fd_obj: new OpenFile(this, false) };
  }
}

// A file that the program writes.
export class GrowingFile extends Inode {
  constructor(bytes = new Uint8Array()) {
    super();
    this.room = bytes;
    this.size = bytes.length;
    this.time = ++written;
  }
  get bytes() {
    return this.room.subarray(0, this.size);
  }
  read(from, size) {
    return this.room.slice(from, Math.min(from + size, this.size));
  }
  write(at, data) {
    const end = at + data.length;
    if (end > this.room.length && this.grow(end) !== wasi.ERRNO_SUCCESS) return wasi.ERRNO_NOSPC;
    if (at > this.size) this.room.fill(0, this.size, at);
    this.room.set(data, at);
    this.size = Math.max(this.size, end);
    this.time = ++written;
    return wasi.ERRNO_SUCCESS;
  }
  grow(size) {
    try {
      const room = new Uint8Array(Math.max(size, 2 * this.room.length, 65536));
      room.set(this.bytes);
      this.room = room;
      return wasi.ERRNO_SUCCESS;
    } catch {
      return wasi.ERRNO_NOSPC;
    }
  }
  resize(size) {
    if (size > this.room.length && this.grow(size) !== wasi.ERRNO_SUCCESS) return wasi.ERRNO_NOSPC;
    if (size > this.size) this.room.fill(0, this.size, size);
    this.size = size;
    return wasi.ERRNO_SUCCESS;
  }
  stat() {
    return statOf(this, BigInt(this.size), this.time);
  }
  path_open(flags, rights, fdFlags) {
    if ((flags & wasi.OFLAGS_TRUNC) !== 0) this.size = 0;
    return { ret: wasi.ERRNO_SUCCESS, fd_obj: new OpenFile(this, (fdFlags & wasi.FDFLAGS_APPEND) !== 0) };
  }
}

// What is made in it are files that grow, and folders of the same kind.
export class Folder extends Directory {
  create_entry_for_path(path, isFolder) {
    const made = super.create_entry_for_path(path, true);
    if (made.entry === null) return made;
    const parts = path.split("/").filter((part) => part !== "" && part !== ".");
    const name = parts.pop();
    let parent = this;
    for (const part of parts) parent = parent.contents.get(part);
    const entry = isFolder ? new Folder(new Map()) : new GrowingFile();
    if (isFolder) entry.parent = parent;
    parent.contents.set(name, entry);
    return { ret: wasi.ERRNO_SUCCESS, entry };
  }
}

// All files below a folder that the program wrote: name to bytes.
export function filesOf(folder, start = "") {
  const found = new Map();
  for (const [name, entry] of folder.contents) {
    if (entry instanceof GrowingFile) found.set(start + name, entry.bytes);
    else if (entry instanceof Directory) for (const [inner, bytes] of filesOf(entry, `${start}${name}/`)) found.set(inner, bytes);
  }
  return found;
}
