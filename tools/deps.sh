# Installs the Debian packages the build needs, when any is missing.
# Sourced by the tools/ scripts.
framquist_deps() {
  local pkgs=(cmake ninja-build g++ libgtest-dev libgmock-dev libbenchmark-dev ccache pkgconf nlohmann-json3-dev
              libavformat-dev libavcodec-dev libswscale-dev libavutil-dev ffmpeg)
  local missing=()
  for p in "${pkgs[@]}"; do
    dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "installing: ${missing[*]}"
  local sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
}
