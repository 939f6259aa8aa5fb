# Installs the Debian packages the build needs, when any is missing.
# Sourced by the tools/ scripts.
framquist_deps() {
  local pkgs=(cmake ninja-build g++ libgtest-dev libgmock-dev libbenchmark-dev ccache pkgconf nlohmann-json3-dev
              libavformat-dev libavcodec-dev libswscale-dev libavutil-dev ffmpeg)
  # OpenCV only for the comparison benchmark (the library never links it);
  # its recommended extras are not needed.
  local lean=(libopencv-dev)
  local missing=() missingLean=()
  for p in "${pkgs[@]}"; do
    dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
  done
  for p in "${lean[@]}"; do
    dpkg -s "$p" >/dev/null 2>&1 || missingLean+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && [ ${#missingLean[@]} -eq 0 ] && return 0
  echo "installing: ${missing[*]} ${missingLean[*]}"
  local sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  $sudo apt-get update -qq
  [ ${#missing[@]} -eq 0 ] || DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
  [ ${#missingLean[@]} -eq 0 ] ||
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missingLean[@]}" >/dev/null
}
