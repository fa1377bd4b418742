"""The build of `pip install .`: compiles the module against the installed library and packs a wheel.

What pip calls is fixed by PEP 517, what a wheel holds by PEP 427.
"""
import base64
import hashlib
import os
import pathlib
import re
import subprocess
import sysconfig
import tarfile
import zipfile

HERE = pathlib.Path(__file__).parent
PROJECT = dict(re.findall(r'^(name|version|description|requires-python) = "(.*)"$',
                          (HERE / "pyproject.toml").read_text(encoding="utf-8"), re.M))
STEM = "{name}-{version}".format(**PROJECT)
METADATA = """Metadata-Version: 2.1
Name: {name}
Version: {version}
Summary: {description}
Requires-Python: {requires-python}
Requires-Dist: numpy
License: BSD-3-Clause
""".format(**PROJECT)
FLAGS = ["-std=c++20", "-O3", "-DNDEBUG", "-ffp-contract=off", "-fPIC", "-shared", "-fvisibility=hidden"]


def _pkg_config(*question):
    asked = ["pkg-config", *question, "oprj"]
    try:
        return subprocess.run(asked, check=True, capture_output=True, text=True).stdout.split()
    except FileNotFoundError:
        raise SystemExit("pkg-config is not installed") from None
    except subprocess.CalledProcessError as problem:
        raise SystemExit(f"the library oPrj is not installed, or PKG_CONFIG_PATH does not lead to its oprj.pc:\n"
                         f"{problem.stderr}") from None


def _compile(target):
    include = sysconfig.get_paths()["include"]
    for header, package in ((os.path.join(include, "Python.h"), "python3-dev"),
                            ("/usr/include/pybind11/pybind11.h", "pybind11-dev")):
        if not os.path.exists(header):
            raise SystemExit(f"{header} is missing: install {package}")
    (folder,) = _pkg_config("--variable=libdir")
    command = [os.environ.get("CXX", "c++"), *FLAGS, "-isystem", include, *_pkg_config("--cflags"),
               *sorted(str(source) for source in (HERE / "src").glob("*.cpp")), "-o", str(target),
               *_pkg_config("--libs"), f"-Wl,-rpath,{os.path.normpath(folder)}"]
    subprocess.run(command, check=True)


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    version = sysconfig.get_config_var("py_version_nodot")
    platform = sysconfig.get_platform().replace("-", "_").replace(".", "_")
    tag = f"cp{version}-cp{version}-{platform}"
    module = pathlib.Path(wheel_directory) / ("_oprj" + sysconfig.get_config_var("EXT_SUFFIX"))
    _compile(module)
    files = {f"oprj/{source.name}": source.read_bytes() for source in sorted((HERE / "oprj").iterdir())
             if source.suffix in (".py", ".pyi", ".typed") or source.name == "py.typed"}
    files[f"oprj/{module.name}"] = module.read_bytes()
    module.unlink()
    files[f"{STEM}.dist-info/METADATA"] = METADATA.encode()
    files[f"{STEM}.dist-info/WHEEL"] = f"Wheel-Version: 1.0\nGenerator: oprj\nRoot-Is-Purelib: false\nTag: {tag}\n".encode()
    name = f"{STEM}-{tag}.whl"
    record = f"{STEM}.dist-info/RECORD"
    rows = []
    with zipfile.ZipFile(os.path.join(wheel_directory, name), "w", zipfile.ZIP_DEFLATED) as wheel:
        for path, content in files.items():
            digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
            rows.append(f"{path},sha256={digest},{len(content)}")
            wheel.writestr(path, content)
        wheel.writestr(record, "\n".join([*rows, f"{record},,", ""]))
    return name


def build_sdist(sdist_directory, config_settings=None):
    name = f"{STEM}.tar.gz"
    with tarfile.open(os.path.join(sdist_directory, name), "w:gz") as archive:
        for part in ("pyproject.toml", "build_wheel.py", "src", "oprj", "tests"):
            archive.add(HERE / part, f"{STEM}/{part}", filter=lambda info: None if "__pycache__" in info.name else info)
    return name
