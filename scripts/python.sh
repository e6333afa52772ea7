# Sourced by the scripts: the interpreter to build for and where its builds go.
#   TESSARINE_PYTHON  an interpreter to use (CPython 3.13 or 3.14); without it,
#                     a Python 3.13 found on this machine
#   TESSARINE_VENV    the environment the module is installed into (default .venv)
# Builds of the module for that environment live in $TESSARINE_VENV/builds.

supported_python() {
  "$1" -c 'import sys, venv; sys.exit(sys.implementation.name != "cpython" or sys.version_info[:2] not in ((3, 13), (3, 14)))' \
    >/dev/null 2>&1
}

find_python() {
  if [ -n "${TESSARINE_PYTHON:-}" ]; then
    if command -v "$TESSARINE_PYTHON" >/dev/null 2>&1 && supported_python "$TESSARINE_PYTHON"; then
      command -v "$TESSARINE_PYTHON"
      return 0
    fi
    echo "error: TESSARINE_PYTHON=$TESSARINE_PYTHON is not a CPython 3.13 or 3.14 with its venv module." >&2
    return 1
  fi
  local candidates=(python3.13 "${PYENV_ROOT:-$HOME/.pyenv}"/versions/3.13*/bin/python3.13 /usr/local/bin/python3.13 /usr/bin/python3.13 python3)
  local candidate
  for candidate in "${candidates[@]}"; do
    if command -v "$candidate" >/dev/null 2>&1 && supported_python "$candidate" &&
       "$candidate" -c 'import sys; sys.exit(sys.version_info[:2] != (3, 13))' >/dev/null 2>&1; then
      command -v "$candidate"
      return 0
    fi
  done
  echo "error: no Python 3.13 interpreter found (tried python3.13 on PATH, pyenv versions 3.13.*, /usr/bin, python3)." >&2
  echo "Install Python 3.13 with its venv module (for example 'pyenv install 3.13.0') and try again," >&2
  echo "or name another interpreter (CPython 3.13 or 3.14) in TESSARINE_PYTHON." >&2
  return 1
}

venv=${TESSARINE_VENV:-.venv}
case $venv in /*) ;; *) venv=$PWD/$venv ;; esac
builds=$venv/builds
