# Sourced by the scripts: finds a Python 3.13 interpreter on this machine.
find_python() {
  local candidates=(python3.13 "${PYENV_ROOT:-$HOME/.pyenv}"/versions/3.13*/bin/python3.13 /usr/local/bin/python3.13 /usr/bin/python3.13 python3)
  local candidate
  for candidate in "${candidates[@]}"; do
    if command -v "$candidate" >/dev/null 2>&1 &&
       "$candidate" -c 'import sys, venv; sys.exit(sys.version_info[:2] != (3, 13))' >/dev/null 2>&1; then
      command -v "$candidate"
      return 0
    fi
  done
  echo "error: no Python 3.13 interpreter found (tried python3.13 on PATH, pyenv versions 3.13.*, /usr/bin, python3)." >&2
  echo "Install Python 3.13 with its venv module (for example 'pyenv install 3.13.0') and try again." >&2
  return 1
}
