"""What docs/contracts.toml says about each function of the headers."""
import dataclasses
import fnmatch
import pathlib
import tomllib

PROMISES = {"reads": "Reads", "writes": "Writes", "requires": "Requires",
            "unchecked": "Not checked"}


@dataclasses.dataclass
class Contract:
    key: str
    parameters: dict  # name to words, in the order of the declaration
    promises: list  # (heading, words)


class Contracts:
    def __init__(self, path):
        self.entries = tomllib.loads(pathlib.Path(path).read_text())
        self.common = self.entries.pop("parameters")

    def key_of(self, function):
        if function in self.entries:
            return function
        keys = [key for key in self.entries if fnmatch.fnmatchcase(function, key)]
        if len(keys) != 1:
            raise KeyError(f"{function} has {len(keys)} entries in docs/contracts.toml {keys}")
        return keys[0]

    def of(self, item):
        key = self.key_of(item.name)
        entry = self.entries[key]
        names = [name for _, name in item.parameters]
        missing = [n for n in names if n not in entry and n not in self.common]
        if missing:
            raise KeyError(f"docs/contracts.toml does not explain {missing} of {item.name}")
        words = {name: entry.get(name) or self.common[name] for name in names}
        return Contract(key, words, [(title, entry[p]) for p, title in PROMISES.items()])

    def idle(self, items):
        """What explains nothing: keys without a function, names that are no parameters."""
        used = {}
        for item in items:
            used.setdefault(self.key_of(item.name), set()).update(n for _, n in item.parameters)
        found = [key for key in self.entries if key not in used]
        for key, names in used.items():
            found += [f"{key}: {n}" for n in self.entries[key] if n not in names | set(PROMISES)]
        return found


def runs(items, contracts):
    """Neighbours that share an entry: [(items, entry's promises, explained parameters)]."""
    made = []
    for item in items:
        contract = contracts.of(item)
        if made and made[-1][1].key == contract.key:
            made[-1][0].append(item)
            made[-1][1].parameters.update(contract.parameters)
        else:
            made.append(([item], contract))
    return made
