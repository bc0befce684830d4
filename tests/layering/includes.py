"""Reads the #include lines of a project and compares them with a list of layers."""
import functools
import re
from pathlib import Path, PurePosixPath

CODE = {".c", ".cpp", ".h", ".hpp", ".inc"}
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', re.M)


def read(project, roots):
    """Return the text of every file below the roots, by relative path."""
    files = [path for root in roots for path in sorted((Path(project) / root).rglob("*")) if path.is_file()]
    return {path.relative_to(project).as_posix(): path.read_text() for path in files}


@functools.lru_cache(maxsize=None)
def directives(text):
    return INCLUDE.findall(text)


@functools.lru_cache(maxsize=None)
def normal(path):
    """Return a path as text, with ".." parts resolved."""
    parts = []
    for part in path.parts:
        if part == ".." and parts:
            parts.pop()
        else:
            parts.append(part)
    return "/".join(parts)


class Code:
    """The texts of a project's files by path, and the list of layers."""

    def __init__(self, texts, layers, no_code=(), declares=None):
        self.texts = texts
        self.declares = {f"include/vrx/{name}.h": part for name, part in (declares or {}).items()}
        self.layers = {layer.name: layer for layer in layers}
        self.no_code = no_code
        self.places = {f"{layer.folder}/{name}": (layer.name, place)
                       for layer in layers for place, name in enumerate(layer.order)}

    def files(self, folder="", suffixes=frozenset(CODE)):
        return [path for path in self.texts
                if path.startswith(f"{folder}/" if folder else "") and PurePosixPath(path).suffix in suffixes]

    def place(self, path):
        """Return the layer of a file and its position there, or None for an unlisted file."""
        return self.places.get(path) or self.places.get(str(PurePosixPath(path).with_suffix("")))

    def includes(self, path):
        """Return the project files that a file includes, and the names of all other headers with their quotes."""
        top = path.split("/")[0]
        own, foreign = set(), set()
        for quote, name in directives(self.texts[path]):
            for base in (PurePosixPath(path).parent, top, "src", "include", "app", "tests", ""):
                candidate = normal(PurePosixPath(base) / name)
                if candidate in self.texts:
                    own.add(candidate)
                    break
            else:
                foreign.add((quote, name))
        return own, foreign

    def unlisted(self):
        """Return files that no layer lists, and listed files that do not exist."""
        code = set(self.files())
        found = {path for path in code if not self.place(path)}
        other = {path for path in set(self.texts) - code
                 if path not in self.no_code and PurePosixPath(path).name not in self.no_code}
        present = {name for path in code for name in (path, str(PurePosixPath(path).with_suffix("")))}
        return ([f"{path} is in no layer" for path in sorted(found | other)] +
                [f"{path} is listed but missing" for path in sorted(set(self.places) - present)])

    def arrows(self):
        """Yield each include between different layers as (file, included file, layer, included layer).

        A public C header declares the functions of a part of the library. If a source of the library or another public
        C header includes this header, the function also yields the include with the two parts as layers.
        """
        for path in self.files():
            for other in sorted(self.includes(path)[0]):
                if not self.place(path) or not self.place(other):
                    continue  # unlisted() reports it
                layer, below = self.place(path)[0], self.place(other)[0]
                if layer != below:
                    yield path, other, layer, below
                part = self.declares.get(path, layer if path.startswith("src/") else None)
                other_part = self.declares.get(other)
                if part and other_part and part != other_part:
                    yield path, other, part, other_part

    def backward(self):
        """Return includes that the list does not allow, and quoted includes of files outside the listed folders."""
        complaints = [f"{path} includes {other}, but {layer} may not include {below}"
                      for path, other, layer, below in self.arrows() if below not in self.layers[layer].below]
        for path in self.files():
            own, foreign = self.includes(path)
            complaints += [f"{path} includes {name}, which is in no layer" for quote, name in foreign if quote == '"']
            for other in own:
                here, there = self.place(path), self.place(other)
                if here and there and here[0] == there[0] and there[1] > here[1]:
                    complaints.append(f"{path} includes {other}, which comes later in {here[0]}")
        return complaints

    def unused(self):
        """Return the layers that a layer may include, but does not."""
        used = {(layer, below) for _, _, layer, below in self.arrows()}
        return [f"{layer.name} does not include {below}" for layer in self.layers.values() for below in layer.below
                if (layer.name, below) not in used]

    def circles(self):
        """Return include cycles. A source and its header count as one file."""
        def unit(file):
            # The umbrella headers for C and for C++ differ only in the suffix.
            return file if file.startswith("include/") else str(PurePosixPath(file).with_suffix(""))

        graph = {}
        for path in self.files():
            graph.setdefault(unit(path), set()).update({unit(other) for other in self.includes(path)[0]} - {unit(path)})
        complaints, done, way = [], set(), []

        def visit(file):
            if file in way:
                complaints.append(" > ".join(way[way.index(file):] + [file]))
            elif file not in done:
                way.append(file)
                for other in sorted(graph[file]):
                    visit(other)
                done.add(way.pop())

        for file in sorted(graph):
            visit(file)
        return complaints
