"""Trees of all kinds of entries, each made from a number: what roads and slices scan. Not started by itself."""

import os
import random
import shutil
import subprocess

NAMES = ("file", "x.tar.gz", "y.LOG", "caf\udce9", "two words.txt", "line\nfeed.c", ".hidden", "a.b", 'quote".h',
         "z" * 200, "[odd]&%*?.m")
WIDE = 100000


class Tree:
    def __init__(self, path, seed, links="anywhere", most_mounts=3):
        """@param links names of one file lie "anywhere", or all of them "beside" each other"""
        self.path, self.chance, self.mounts, self.files = path, random.Random(seed), [], []
        self.links, self.most_mounts = links, most_mounts
        self.grow(path, 0)
        if seed % 20 == 19:
            os.mkdir(f"{path}/wide")
            for i in range(WIDE):
                os.symlink("nowhere", f"{path}/wide/{i}.l{i % 7}")
                self.touch(f"{path}/wide/{i}.l{i % 7}")
        if seed % 3 == 0:
            deep = path
            for _ in range(self.chance.randrange(60)):
                deep += "/d"
                os.mkdir(deep)
            self.file(f"{deep}/end")
        for at, _, _ in os.walk(path):
            self.touch(at)

    def touch(self, path):
        """Long ago: so that averages of ages have nine digits, like other times that are left out of account."""
        os.utime(path, (self.chance.randrange(10**9), self.chance.randrange(10**9)), follow_symlinks=False)

    def grow(self, directory, level):
        for i in range(self.chance.randrange(40 if level == 0 else 14)):
            path = f"{directory}/{i}{self.chance.choice(NAMES)}"
            kind = self.chance.randrange(20)
            if kind < 5 and level < 5:
                os.mkdir(path)
                if kind == 4 and len(self.mounts) < self.most_mounts:
                    subprocess.run(["mount", "-t", "tmpfs", "-o", "noatime,size=64m", "inside", path], check=True)
                    self.mounts.append(path)
                self.grow(path, level + 1)
            elif kind == 5 and self.linkable(directory):
                try:
                    os.link(self.chance.choice(self.linkable(directory)), path, follow_symlinks=False)
                except OSError:
                    pass  # lies on another mount
            elif kind == 6:
                os.symlink(self.chance.choice(("/", "nowhere", "..")), path)
                self.touch(path)
            elif kind == 7:
                os.mkfifo(path)
                self.touch(path)
            else:
                self.file(path)

    def linkable(self, directory):
        if self.links == "anywhere":
            return self.files
        return [file for file in self.files if os.path.dirname(file) == directory]

    def file(self, path):
        with open(path, "wb") as file:
            file.truncate(self.chance.choice((0, 1, 5000, 2**33)))
            file.write(b"x" * self.chance.choice((0, 0, 9000)))
        self.touch(path)
        try:
            os.chown(path, *(self.chance.choice((0, 1, 54321)) for _ in range(2)))
        except OSError:
            pass  # in a user namespace there is nobody else
        self.files.append(path)

    def remove(self):
        for mount in reversed(self.mounts):
            subprocess.run(["umount", "-l", mount], check=True)
        for entry in os.scandir(self.path):
            if entry.is_dir(follow_symlinks=False):
                shutil.rmtree(entry.path)
            else:
                os.remove(entry.path)
