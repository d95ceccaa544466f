exec 2>&1
for options in '' 'cal' '--list' 'call' 'call --list bamInfo' 'call bamInfo --bogus' \
  'call bamInfo extra' 'call bamInfo --nlhs -1' 'call bamInfo --nlhs 65536' \
  'call bamInfo --nlhs x' 'call bamInfo --nlhs' 'call bamInfo --args' \
  'call bamInfo --args [] --args-file x' 'call bamInfo --args [] --args []'; do
  printf '\n$ readkit %s\n' "$options"
  # shellcheck disable=SC2086
  readkit $options
  echo "status $?"
done
