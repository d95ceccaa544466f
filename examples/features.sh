#!/bin/sh
# Prints a table of fields of the records of one reference of a sorted BAM file.
#
#   features.sh READS.bam REFERENCE [ORDINAL...]
#
# Ordinals are 1-based numbers of records within the reference, ascending; none means all records.
# The index is made as READS.bam.bai unless it is there. Needs readkit and jq on the PATH.
set -eu

if [ "$#" -lt 2 ]; then
  echo "usage: $0 READS.bam REFERENCE [ORDINAL...]" >&2
  exit 2
fi
bam=$1
reference=$2
shift 2

# call FUNCTION OUTPUTS FILTER [OPTIONS...]: calls a function with the inputs that a jq filter gives
# for $bam and the options.
call() {
  function=$1
  outputs=$2
  filter=$3
  shift 3
  inputs=$(jq -nc --arg bam "$bam" "$@" "$filter")
  printf '%s' "$inputs" | readkit call "$function" --nlhs "$outputs" --args-file -
}

answer=$(call getReferenceID 1 '[$bam, $name]' --arg name "$reference")
id=$(printf '%s' "$answer" | jq '.outputs[0].data[0]')
if [ "$id" -lt 0 ]; then
  echo "$0: $bam has no reference $reference" >&2
  exit 1
fi

[ -e "$bam.bai" ] || call bamIndex 0 '[$bam, $bam + ".bai"]' >/dev/null

starts=$(call getStartsInReference 1 '[$bam, $bam + ".bai", $id]' --argjson id "$id")

# getFeatures finds records by their ordinals and by the start of every record of the reference.
# The starts that it wants are 0-based, one less than getStartsInReference gives.
inputs=$(printf '%s' "$starts" | jq -c --arg bam "$bam" --argjson id "$id" '
  (.outputs[0] | .data |= map(. - 1)) as $starts
  | ($ARGS.positional | map(tonumber)) as $given
  | (if $given == [] then [range(1; 1 + ($starts.data | length))] else $given end) as $wanted
  | [$bam, $bam + ".bai",
     ["Header", "Flag", "Position", "MappingQuality", "Signature", "Sequence"], $id,
     {class: "uint32", dims: [($wanted | length), 1], data: $wanted}, $starts]' --args "$@")
features=$(printf '%s' "$inputs" | readkit call getFeatures --nlhs 6 --args-file -)

# A cell with a text is its data; the row of a record that was not found has empty cells.
printf '%s' "$features" |
  jq -r '["name", "flag", "position", "mapq", "CIGAR", "sequence"],
         ([.outputs[].data | map(if type != "object" then . elif .data == [] then "" else .data end)]
          | transpose[]) | @tsv' |
  awk -F '\t' '{ line = sprintf("%-10s %5s %9s %5s  %-10s %s", $1, $2, $3, $4, $5, $6)
                 sub(/ +$/, "", line); print line }'
