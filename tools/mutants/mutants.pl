#!/usr/bin/perl
# Reads the mutant list and applies one mutant to its file.
#
#   mutants.pl LIST list        the ids, one a line
#   mutants.pl LIST check       every mutant's original text occurs exactly once in its file
#   mutants.pl LIST file ID     the file a mutant changes
#   mutants.pl LIST note ID     a mutant's note
#   mutants.pl LIST apply ID    rewrites the file with the mutant in place
#
# The list is made of blocks:
#
#   [id]
#   file: src/some_file.cpp
#   note: what slip the change stands for
#   -original line, exactly as in the file after the '-'
#   +replacement line, exactly as wanted after the '+'
#
# Consecutive '-' lines form the original text (joined by newlines), consecutive '+' lines the
# replacement; a mutant without '+' lines removes the original text. Lines starting with '#' and
# blank lines outside the '-' and '+' lines are ignored. Paths are relative to the repository root,
# the current directory.
use strict;
use warnings;

sub fail { print STDERR "mutants: @_\n"; exit 2; }

sub read_list {
  my ($path) = @_;
  open(my $in, '<', $path) or fail("cannot read $path: $!");
  my (@mutants, %seen, $current);
  while (my $line = <$in>) {
    chomp $line;
    if ($line =~ /^\[([A-Za-z0-9_.-]+)\]\s*$/) {
      fail("$path:$.: duplicate id $1") if $seen{$1}++;
      $current = { id => $1, line => $., original => [], replacement => [] };
      push @mutants, $current;
    } elsif ($line =~ /^#/ || $line =~ /^\s*$/) {
      next;
    } elsif (!$current) {
      fail("$path:$.: text before the first [id]");
    } elsif ($line =~ /^(file|note):\s*(.*?)\s*$/) {
      $current->{$1} = $2;
    } elsif ($line =~ /^-(.*)$/) {
      fail("$path:$.: '-' line after a '+' line in $current->{id}") if @{ $current->{replacement} };
      push @{ $current->{original} }, $1;
    } elsif ($line =~ /^\+(.*)$/) {
      push @{ $current->{replacement} }, $1;
    } else {
      fail("$path:$.: cannot read this line: $line");
    }
  }
  for my $m (@mutants) {
    fail("mutant $m->{id} (line $m->{line}) has no file") unless $m->{file};
    fail("mutant $m->{id} (line $m->{line}) has no note") unless $m->{note};
    fail("mutant $m->{id} (line $m->{line}) has no original text") unless @{ $m->{original} };
    fail("mutant $m->{id} (line $m->{line}) changes $m->{file}, outside src/")
      unless $m->{file} =~ m{^src/[^/]+$};
    $m->{from} = join("\n", @{ $m->{original} });
    $m->{to} = join("\n", @{ $m->{replacement} });
    fail("mutant $m->{id} (line $m->{line}) changes nothing") if $m->{from} eq $m->{to};
  }
  return @mutants;
}

sub slurp {
  my ($path) = @_;
  open(my $in, '<', $path) or fail("cannot read $path: $!");
  local $/;
  my $text = <$in>;
  return $text;
}

# How many times the mutant's original text occurs in its file.
sub occurrences {
  my ($m, $text) = @_;
  my ($count, $at) = (0, 0);
  while ((my $found = index($text, $m->{from}, $at)) >= 0) {
    ++$count;
    $at = $found + 1;
  }
  return $count;
}

sub find_mutant {
  my ($id, @mutants) = @_;
  for my $m (@mutants) { return $m if $m->{id} eq $id; }
  fail("no mutant $id");
}

my ($list, $command, $id) = @ARGV;
fail("usage: mutants.pl LIST list|check|file ID|note ID|apply ID") unless $list && $command;
my @mutants = read_list($list);

if ($command eq 'list') {
  print "$_->{id}\n" for @mutants;
} elsif ($command eq 'check') {
  my $bad = 0;
  for my $m (@mutants) {
    if (!-f $m->{file}) {
      print STDERR "mutants: $m->{id}: no file $m->{file}\n";
      ++$bad;
      next;
    }
    my $count = occurrences($m, slurp($m->{file}));
    next if $count == 1;
    print STDERR "mutants: $m->{id}: its original text occurs $count times in $m->{file}\n";
    ++$bad;
  }
  exit($bad ? 1 : 0);
} elsif ($command eq 'file' || $command eq 'note') {
  print find_mutant($id, @mutants)->{$command}, "\n";
} elsif ($command eq 'apply') {
  my $m = find_mutant($id, @mutants);
  my $text = slurp($m->{file});
  my $count = occurrences($m, $text);
  fail("$m->{id}: its original text occurs $count times in $m->{file}") unless $count == 1;
  my $at = index($text, $m->{from});
  substr($text, $at, length($m->{from})) = $m->{to};
  open(my $out, '>', $m->{file}) or fail("cannot write $m->{file}: $!");
  print $out $text;
  close($out) or fail("cannot write $m->{file}: $!");
} else {
  fail("unknown command $command");
}
