# Sourced by the setup scripts: install_missing WHO PACKAGE... installs with
# apt-get (through sudo when not root) those of the packages that are not
# installed yet, and says what it does under WHO.
install_missing() {
  local who="$1" package missing=() as_root=()
  shift
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" ||
      missing+=("$package")
  done
  if [ ${#missing[@]} -eq 0 ]; then
    echo "$who: everything needed is installed"
    return 0
  fi
  if [ "$(id -u)" -ne 0 ]; then as_root=(sudo); fi
  echo "$who: installing ${missing[*]}"
  "${as_root[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
}
