# What the measurements share; sourced by them, from the top of the tree.
# shellcheck shell=bash disable=SC2034 # variables are read by those who source it

preset=${preset:-release}
agent=$PWD/build/$preset/agent
run_options=(-scan -jobname bench -sidrunnumber 1 -jobrunnumber 1)
run_name=bench.0001_scan.00000001

# Builds and installs the release, then starts the calling script again in a mount namespace of its own.
build_and_enter() {  # "$@" of the script
  [ "${BENCH_INSIDE:-}" != 1 ] || return 0
  cmake --preset "$preset" -DSCAN_BUILD_BENCHMARKS=ON >/dev/null
  cmake --build "build/$preset"
  cmake --install "build/$preset" --prefix "$agent" >/dev/null
  local as_root=(-r)
  [ "$(id -u)" -ne 0 ] || as_root=()
  exec env BENCH_INSIDE=1 unshare "${as_root[@]}" -m --propagation private "$0" "$@"
}

# A directory for what is measured, $work, with an empty $work/tree to mount on; gone at the end.
make_work() {
  work=$(mktemp -d)
  trap 'umount -l "$work/tree" 2>/dev/null || true; rm -rf "$work"' EXIT
  mkdir -p "$work/tree" "$agent/input"
}

# A tree on an ext4 image mounted through a loop device where root may do that, otherwise on a tmpfs; sets $kind and
# $made, the number of entries. BENCH_FS=tmpfs or ext4 asks for one of them.
mount_tree() {  # ENTRIES
  kind=${BENCH_FS:-ext4}
  if [ "$kind" = ext4 ]; then
    truncate -s 3G "$work/image"
    if ! { mkfs.ext4 -q -F -N $(($1 + 100000)) "$work/image" && mount -o loop "$work/image" "$work/tree"; } 2>/dev/null; then
      echo "No ext4 image can be mounted here; measuring on a tmpfs." >&2
      kind=tmpfs
    fi
  fi
  [ "$kind" = ext4 ] || mount -t tmpfs -o size=3g,nr_inodes=0 bench "$work/tree"
  made=$(bench/make-tree "$work/tree/data" "$1")
  sync
}

# The definition of the next run, which takes it away: one statistic of everything in $work/tree.
define() {  # totals|all
  local flags=Y,Y,Y,Y,Y,Y,100,100,100,100,100,100,100
  [ "$1" = totals ] && flags=Y,Y,Y,N,N,N,0,0,0,0,0,0,0
  rm -f "$agent/output/$run_name.dat"
  cat >"$agent/input/$run_name.dat" <<END
[Header]
[AgentScan]
asJobName,asScanningCompID
[Filesystem]
fsID,fsMountPoint
[CuStatDef]
sdID,sdType,sdSummary,sdGroupByOwner,sdGroupByGroup,sdSizeDistribution,sdGroupByAccess,sdGroupByMod,sdLargestFiles,sdLargestDirectories,sdLeastAccessed,sdOldestNotBackedUp,sdLargestOrphans,sdOldestOrphans,sdLargestFileTypes
[/Header]
[AgentScan]
"bench",1
[Filesystem]
1,"$work/tree"
[/Filesystem]
[CuStatDef]
1,3,$flags
[/CuStatDef]
[/AgentScan]
END
}

measure() {  # NAME COMMAND...: appends wall seconds and peak kilobytes to $work/t-NAME
  local name=$1
  shift
  local begin=${EPOCHREALTIME/[.,]/}
  command time -f %M -o "$work/time" "$@" >/dev/null
  local end=${EPOCHREALTIME/[.,]/}
  awk -v us=$((end - begin)) '{ print us / 1e6, $1 }' "$work/time" >>"$work/t-$name"
}

median() {  # NAME: of the seconds
  sort -n "$work/t-$1" | awk '{ v[NR] = $1 } END { print NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}
