"""check_contracts.py MAP...: every name of the export maps is declared and has one contract, and no contract is about nothing."""
import pathlib
import re
import sys

sys.dont_write_bytecode = True
tree = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(tree / "docs/generate"))
import contracts  # noqa: E402
import headers  # noqa: E402

exported = {name for path in sys.argv[1:]
            for name in re.findall(r"^\s+(\w+);", pathlib.Path(path).read_text(), re.M)}
items = [item for path in sorted((tree / "include/trvil").glob("*.h"))
         for item in headers.read_header(path).items("function")]
declared = {item.name for item in items}
promises = contracts.Contracts(tree / "docs/contracts.toml")
for item in items:
    promises.of(item)

faults = [f"{name} is exported and not declared" for name in exported - declared]
faults += [f"{name} is declared and not exported" for name in declared - exported]
faults += [f"docs/contracts.toml explains nothing by {what}" for what in promises.idle(items)]
print(f"{len(declared)} functions have a contract")
sys.exit("\n".join(faults) or 0)
