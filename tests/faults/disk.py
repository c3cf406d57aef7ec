# SPDX-License-Identifier: Apache-2.0
"""A model of a disk below a file system that promises no more than POSIX does: what was not synced when
the power fails is there, lost or torn, entries of directories included, in any combination. Only a
rename is whole or not at all (POSIX.1-2017, rename())."""

import os
import shutil
import stat

SECTOR = 512


class Metadata:
    """Mode, owner and extended attributes (ACLs among them) of a file. The model takes them for
    written at once."""

    def __init__(self, path):
        info = os.lstat(path)
        self.mode, self.owner = stat.S_IMODE(info.st_mode), (info.st_uid, info.st_gid)
        self.attributes = {name: os.getxattr(path, name, follow_symlinks=False)
                           for name in os.listxattr(path, follow_symlinks=False)}

    def put(self, path):
        os.chown(path, *self.owner)
        os.chmod(path, self.mode)
        for name, value in self.attributes.items():
            os.setxattr(path, name, value)


class File:
    """A file's content as programs see it, as it is on the disk for sure, and the changes between."""

    def __init__(self, content=b"", metadata=None):
        self.now, self.synced = bytearray(content), bytes(content)
        self.pending = []
        self.metadata = metadata

    def change(self, offset, data):
        """Writes the data; None cuts the file off there."""
        apply(self.now, offset, data)
        self.pending.append((offset, data))

    def sync(self):
        self.synced, self.pending = bytes(self.now), []

    def after_cut(self, choice):
        """The content after a power cut."""
        keep, content = choice.choice((0, 0.5, 1)), bytearray(self.synced)
        for offset, data in self.pending:
            if data is None:
                if choice.random() < keep:
                    apply(content, offset, None)
                continue
            begin = 0
            while begin < len(data):
                end = begin + SECTOR - (offset + begin) % SECTOR
                if choice.random() < keep:
                    apply(content, offset + begin, data[begin:end])
                begin = end
        return bytes(content)


def apply(content, offset, data):
    if data is None:
        del content[offset:]
    content.extend(bytes(max(0, offset - len(content))))
    if data is not None:
        content[offset:offset + len(data)] = data


class Directory:
    """The same of a directory's entries. A change is a list of names, each with its file or directory,
    or with None for one that is removed; it happens as a whole."""

    def __init__(self, metadata=None):
        self.now, self.synced = {}, {}
        self.pending = []
        self.metadata = metadata

    def change(self, change):
        enter(self.now, change)
        self.pending.append(change)

    def sync(self):
        self.synced, self.pending = dict(self.now), []

    def after_cut(self, choice):
        """The entries after a power cut."""
        keep, entries = choice.choice((0, 0.5, 1)), dict(self.synced)
        for change in self.pending:
            if choice.random() < keep:
                enter(entries, change)
        return entries


def enter(entries, change):
    for name, node in change:
        if node is None:
            entries.pop(name, None)
        else:
            entries[name] = node


class Disk:
    """Everything below some directories, as it is now and for sure on the disk."""

    def __init__(self, roots):
        self.roots = {root: self.load(root) for root in roots}

    def load(self, path):
        metadata = Metadata(path)
        if not os.path.isdir(path):
            with open(path, "rb") as file:
                return File(file.read(), metadata)
        directory = Directory(metadata)
        for entry in os.scandir(path):
            if entry.is_dir(follow_symlinks=False) or entry.is_file(follow_symlinks=False):
                directory.now[entry.name] = self.load(entry.path)
        directory.synced = dict(directory.now)
        return directory

    def find(self, path):
        """The file or directory of that name now. None when there is none, or outside of the roots."""
        for root, node in self.roots.items():
            if path == root:
                return node
            if path.startswith(root + "/"):
                for name in path[len(root) + 1:].split("/"):
                    node = node.now.get(name) if isinstance(node, Directory) else None
                return node
        return None

    def enter(self, directory, *change):
        """Changes entries of a directory, which may be outside of the roots."""
        node = self.find(directory)
        if node is not None:
            node.change(change)

    def paths(self):
        """What is there now: each path with its node."""
        found = {}

        def walk(path, node):
            found[path] = node
            if isinstance(node, Directory):
                for name, inner in node.now.items():
                    walk(f"{path}/{name}", inner)

        for root, node in self.roots.items():
            walk(root, node)
        return found

    def write_after_cut(self, choice):
        """Makes the files and directories below the roots what a power cut leaves."""
        made = {}

        def make(path, node, owner):
            if id(node) in made:
                os.link(made[id(node)], path)
                return
            if isinstance(node, File):
                made[id(node)] = path
                with open(path, "xb") as file:
                    file.write(node.after_cut(choice))
            else:
                os.mkdir(path)
                owner = node.metadata.owner if node.metadata else owner
                for name, inner in node.after_cut(choice).items():
                    make(f"{path}/{name}", inner, owner)
            if node.metadata:
                node.metadata.put(path)
            else:
                # It is gone in the end. Such a file belongs to whom its directory belongs.
                os.chown(path, *owner)
                os.chmod(path, 0o600 if isinstance(node, File) else 0o700)

        for root, node in self.roots.items():
            shutil.rmtree(root)
            make(root, node, node.metadata.owner)
